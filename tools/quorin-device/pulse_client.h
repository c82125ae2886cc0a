#pragma once

#include "platform/audio/pulse_connection.h"
#include "platform/posix/file_descriptor.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace quorin::device {

/// Why a command cannot go on. Thrown: whatever fails ends the command with its sentences.
struct Error : std::runtime_error {
  enum class Cause : std::uint8_t { kOther, kNoServer, kRefused };

  /// `text`: sentences, what happened and what to do next.
  explicit Error(const std::string& text, Cause why = Cause::kOther)
      : std::runtime_error(text), cause(why) {}

  Cause cause;
};

/// A sink or a source.
struct Endpoint {
  std::uint32_t index = 0;
  std::string name;
  std::string description;  ///< as users read it
  bool muted = false;
  bool volumeIsZero = false;
  std::uint8_t channels = 2;
  bool isSource = false;
  bool isMonitor = false;  ///< a source that records what a sink plays

  bool isSilenced() const { return muted || volumeIsZero; }
};

/// A program that plays.
struct Playback {
  std::uint32_t index = 0;
  std::uint32_t sink = 0;
  std::string program;
  bool paused = false;
  bool isLoopback = false;  ///< the copy that `kLoopbackMark` marks
};

struct Module {
  std::uint32_t index = 0;
  std::string name;
  std::string argument;
};

/// What the server has at one moment.
struct Snapshot {
  std::string server;       ///< "pulseaudio", "PulseAudio (on PipeWire 0.3.65)"
  std::string defaultSink;  ///< as the server calls it; may name what does not exist
  std::string defaultSource;
  std::vector<Endpoint> sinks;
  std::vector<Endpoint> sources;
  std::vector<Playback> playbacks;
  std::vector<Module> modules;

  bool isPipeWire() const { return server.contains("PipeWire"); }
};

/// The property that marks a playback as this program's own loopback.
inline constexpr const char* kLoopbackMark = "quorin.loopback";

/// A conversation with the audio server, one request after the other; each waits for its answer,
/// at most 5 s. One thread. Throws `Error` where there is no server, or no longer.
class PulseClient {
 public:
  /// PULSE_SERVER's, else the user's own.
  PulseClient();

  Snapshot look();

  // Whether the server did it: what is named may be gone by now.

  /// The index under which it is loaded; `module.index` means nothing.
  std::optional<std::uint32_t> load(const Module& module);
  bool unload(std::uint32_t module);
  bool makeDefault(const Endpoint& endpoint);
  bool move(const Playback& playback, const Endpoint& sink);
  /// Audible again: not muted, and at full volume where the volume was zero.
  bool unmute(const Endpoint& endpoint);

  /// Why it did not do the last of these.
  Error refusal(const std::string& doing);

  /// Looks again and again until `condition` holds or `limit` has passed; whether it holds.
  bool waitUntil(const std::function<bool(const Snapshot&)>& condition,
                 std::chrono::milliseconds limit);

  /// A descriptor that is readable when a `Snapshot` may be another than at the last `look`, or the
  /// server is gone.
  int changes() const { return changes_.get(); }

 private:
  template <typename Info>
  using List = pa_operation* (*)(pa_context*, void (*)(pa_context*, const Info*, int, void*),
                                 void*);

  void subscribe(pa_context* context);
  void noteChange();
  void run(const std::function<pa_operation*(pa_context*)>& begin);
  template <typename Ask, typename... Arguments>
  bool request(Ask ask, Arguments... arguments);
  template <typename Info, typename Item>
  std::vector<Item> list(List<Info> ask, Item (*convert)(const Info&));

  const posix::FileDescriptor changes_;  ///< an eventfd
  int failure_ = PA_OK;                  ///< of the connection; with it locked
  audio::PulseConnection pulse_;
};

}  // namespace quorin::device
