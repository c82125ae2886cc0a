#pragma once

#include "core/queue.h"
#include "platform/audio/devices.h"
#include "platform/audio/engine.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace quorin::audio {

/// Whether this program may record, as far as the audio server has said.
enum class RecordingAccess : std::uint8_t {
  kUnknown,  ///< not asked yet, or no server to ask
  kGranted,  ///< a recording was started
  kRefused,  ///< the connection or the last recording was refused for want of permission
};

/// Whether a source may be recorded. Any thread; neither waits nor allocates.
using SourceTest = std::function<bool(const Device& source)>;

/// The program's one connection to the audio server. Lives longer than its engines.
///
/// A server that is not there, or dies, is looked for again by itself, in growing steps of up to
/// 4 s; until it is back there are no devices.
class AudioServer {
 public:
  virtual ~AudioServer() = default;
  AudioServer(const AudioServer&) = delete;
  AudioServer& operator=(const AudioServer&) = delete;

  /// The latest state, without asking the server. Any thread; never waits for the server.
  virtual DefaultDevices defaultDevices() const = 0;
  virtual RecordingAccess recordingAccess() const = 0;

  /// `handler` runs on `queue` after `defaultDevices` or `recordingAccess` changed, also if that
  /// was before it was set; changes that follow each other closely coalesce. One handler at a time,
  /// replaced on `queue`.
  virtual void setChangeHandler(dispatch::Queue& queue, dispatch::Task handler) = 0;

  /// An engine that records the default source while `accepts` it, and nothing else.
  virtual std::unique_ptr<AudioEngine> makeEngine(SourceTest accepts) = 0;

 protected:
  AudioServer() = default;
};

/// The user's server: PulseAudio, or PipeWire's stand-in for it (`PULSE_SERVER` is honoured).
/// Returns at once: the connection comes about on a thread of its own, which takes real-time
/// priority where it may have it (`backgroundQueue` asks rtkit for it), and goes on without.
std::unique_ptr<AudioServer> connectToAudioServer(dispatch::Queue& backgroundQueue);

}  // namespace quorin::audio
