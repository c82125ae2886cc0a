#pragma once

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

/// A sink or a source.
struct Endpoint {
  std::uint32_t index = 0;
  std::string name;
  std::string description;  ///< as users read it
  bool muted = false;       ///< or its volume is zero
  bool isMonitor = false;   ///< a source that records what a sink plays
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

  bool isPipeWire() const { return server.find("PipeWire") != std::string::npos; }
};

/// The property that marks a playback as this program's own loopback.
inline constexpr const char* kLoopbackMark = "quorin.loopback";

/// A conversation with the audio server, one request after the other; each waits for its answer,
/// at most 5 s. One thread.
class PulseClient {
 public:
  /// PULSE_SERVER's, else the user's own.
  static std::expected<PulseClient, Error> connect();

  ~PulseClient();
  PulseClient(PulseClient&&) noexcept;
  PulseClient& operator=(PulseClient&&) noexcept;

  std::expected<Snapshot, Error> look();

  /// The module's index.
  std::expected<std::uint32_t, Error> loadModule(const std::string& name,
                                                 const std::string& argument);
  std::expected<void, Error> unloadModule(std::uint32_t index);
  std::expected<void, Error> setDefaultSink(const std::string& name);
  std::expected<void, Error> setDefaultSource(const std::string& name);
  std::expected<void, Error> move(std::uint32_t playback, std::uint32_t sink);
  /// Audible again: not muted, and at full volume where the volume was zero.
  std::expected<void, Error> unmute(const Endpoint& sink);

  /// Looks again and again until `condition` holds or `limit` has passed; whether it holds.
  bool waitUntil(const std::function<bool(const Snapshot&)>& condition,
                 std::chrono::milliseconds limit);

  /// Has `waitForChange` return when anything in a `Snapshot` may have changed.
  std::expected<void, Error> subscribe();

  /// Returns at a change, or when one of `descriptors` is readable or hung up. False when the
  /// connection is lost.
  bool waitForChange(std::span<const int> descriptors);

 private:
  struct Connection;
  explicit PulseClient(std::unique_ptr<Connection> connection);

  /// A request that is answered with success or failure: `ask` is libpulse's function, and
  /// `arguments` what it takes between the context and the callback.
  template <typename Ask, typename... Arguments>
  std::expected<void, Error> request(const std::string& doing, Ask ask, Arguments... arguments);

  std::unique_ptr<Connection> connection_;
};

}  // namespace quorin::device
