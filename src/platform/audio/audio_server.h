#pragma once

#include "core/queue.h"
#include "platform/audio/devices.h"
#include "platform/audio/engine.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace quorin::audio {

/// Whether this program may record, as last reported by the audio server.
enum class RecordingAccess : std::uint8_t {
  kUnknown,  ///< not asked yet, or no server to ask
  kGranted,  ///< a recording was started
  kRefused,  ///< the connection or the last recording was refused for want of permission
};

/// Whether a source may be recorded. Any thread; neither waits nor allocates.
using SourceTest = std::function<bool(const Device& source)>;

/// The program's one connection to the audio server. Lives longer than its engines.
///
/// Reconnects by itself to a server that is missing or dies, with a backoff of up to 4 s; until
/// then there are no devices.
class AudioServer {
 public:
  virtual ~AudioServer() = default;
  AudioServer(const AudioServer&) = delete;
  AudioServer& operator=(const AudioServer&) = delete;

  /// The cached state. Any thread; never waits for the server.
  virtual DefaultDevices defaultDevices() const = 0;
  virtual RecordingAccess recordingAccess() const = 0;

  /// `handler` runs on `queue` after `defaultDevices` or `recordingAccess` changed, also for a
  /// change before it was set; quick successive changes coalesce. Only one handler; replace it on
  /// `queue`.
  virtual void setChangeHandler(dispatch::Queue& queue, dispatch::Task handler) = 0;

  /// An engine that records the default source while `accepts` it, and nothing else.
  virtual std::unique_ptr<AudioEngine> makeEngine(SourceTest accepts) = 0;

 protected:
  AudioServer() = default;
};

/// The user's server: PulseAudio, or PipeWire's stand-in for it (`PULSE_SERVER` is honoured).
/// Returns at once and connects on a thread of its own, with real-time priority if the system
/// grants it (`backgroundQueue` asks rtkit).
std::unique_ptr<AudioServer> connectToAudioServer(dispatch::Queue& backgroundQueue);

}  // namespace quorin::audio
