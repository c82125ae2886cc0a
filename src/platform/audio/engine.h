#pragma once

#include "platform/audio/format.h"

#include <cstddef>
#include <expected>
#include <functional>
#include <string>

namespace quorin::audio {

struct Error {
  std::string description;  ///< a sentence without its full stop: what happened, what to do
};

/// Records the default input device, as long as that is one it accepts. Confined to the queue that
/// made it, except the tap.
///
/// Idle -> installTap -> start -> running -> (removeTap, stop) -> idle.
///
/// While running, it follows the default input to another accepted device within 100 ms, delivers
/// nothing while the default is not accepted, and resumes by itself when the device, the permission
/// or the server returns.
class AudioEngine {
 public:
  /// Runs on the audio server's thread, never concurrently with itself, once per block; must not
  /// wait, allocate in steady state, or call the engine.
  using TapHandler = std::move_only_function<void(const BufferView&)>;

  virtual ~AudioEngine() = default;
  AudioEngine(const AudioEngine&) = delete;
  AudioEngine& operator=(const AudioEngine&) = delete;

  /// The default input device's own format; `!exists()` when there is no device or no server.
  /// Waits at most 0.5 s, for the first answer of a server that has just been found.
  virtual Format inputFormat() = 0;

  /// Installs the tap: at most one, before `start`. `frames`: block length at 44100 Hz; blocks have
  /// the same duration at the input's rate (960 frames at 48000 Hz for 882), or twice it if only
  /// that is whole. Inputs with neither are recorded at 48000 Hz; the server downmixes more than
  /// two channels to stereo. The format is fixed while running.
  virtual void installTap(std::size_t frames, TapHandler handler) = 0;

  /// When this returns the handler does not run and will not run again.
  virtual void removeTap() = 0;

  /// Waits for the server's answer, at most 0.5 s, and the same again for a server that has just
  /// been found. Already running: nothing happens.
  virtual std::expected<void, Error> start() = 0;

  /// When this returns no block is delivered any more; what was recorded until then is lost. Idle:
  /// nothing happens.
  virtual void stop() = 0;

 protected:
  AudioEngine() = default;
};

}  // namespace quorin::audio
