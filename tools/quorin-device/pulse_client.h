#pragma once

#include "platform/audio/pulse_connection.h"
#include "platform/posix/file_descriptor.h"

#include <chrono>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace quorin::device {

struct Error {
  enum class Cause : std::uint8_t { kOther, kNoServer, kRefused };

  std::string text;  ///< sentences: what happened, what to do next
  Cause cause = Cause::kOther;
};
using Done = std::expected<void, Error>;

/// A sink or a source.
struct Endpoint {
  std::uint32_t index = 0;
  std::string name;
  std::string description;  ///< as users read it
  bool muted = false;
  bool volumeIsZero = false;
  std::uint8_t channels = 2;
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

struct LoadedModule {
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
  std::vector<LoadedModule> modules;

  bool isPipeWire() const { return server.contains("PipeWire"); }
};

/// The property that marks a playback as this program's own loopback.
inline constexpr const char* kLoopbackMark = "quorin.loopback";

/// A conversation with the audio server, one request after the other; each waits for its answer,
/// at most 5 s. One thread.
class PulseClient {
 public:
  /// PULSE_SERVER's, else the user's own.
  static std::expected<std::unique_ptr<PulseClient>, Error> connect();

  std::expected<Snapshot, Error> look();

  /// The module's index.
  std::expected<std::uint32_t, Error> loadModule(const std::string& name,
                                                 const std::string& argument);
  Done unloadModule(std::uint32_t index);
  Done setDefaultSink(const std::string& name);
  Done setDefaultSource(const std::string& name);
  Done move(std::uint32_t playback, std::uint32_t sink);
  /// Audible again: not muted, and at full volume where the volume was zero.
  Done unmuteSink(const Endpoint& sink);
  Done unmuteSource(const Endpoint& source);

  /// Looks again and again until `condition` holds or `limit` has passed; whether it holds.
  bool waitUntil(const std::function<bool(const Snapshot&)>& condition,
                 std::chrono::milliseconds limit);

  /// Has `waitForChange` return when anything in a `Snapshot` may have changed.
  Done subscribe();

  /// Returns at a change, or when one of `descriptors` is readable or hung up. False when the
  /// connection is lost.
  bool waitForChange(std::span<const int> descriptors);

 private:
  PulseClient() = default;

  Error error(const std::string& doing) const;
  Done finish(const std::function<pa_operation*(pa_context*)>& begin, const std::string& doing,
              const bool& success);
  template <typename Ask, typename... Arguments>
  Done request(const std::string& doing, Ask ask, Arguments... arguments);
  template <typename SetMute, typename SetVolume>
  Done unmute(const Endpoint& endpoint, SetMute setMute, SetVolume setVolume);
  template <typename Info, typename Item>
  Done list(pa_operation* (*ask)(pa_context*, void (*)(pa_context*, const Info*, int, void*),
                                 void*),
            Item (*convert)(const Info&), std::vector<Item>& items);
  void noteChange() const;

  posix::FileDescriptor changed_;  ///< an eventfd
  int failure_ = PA_OK;            ///< of the connection
  std::unique_ptr<audio::PulseConnection> pulse_;
};

}  // namespace quorin::device
