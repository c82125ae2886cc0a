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

  /// At most one tap; before `start`. `frames` is the desired length of a block, counted at 44100
  /// frames a second: blocks hold the input's own number of frames of that length (960 for 882 at
  /// 48000 Hz), or of twice that length where only that is a whole number. An input that has
  /// neither is recorded at 48000 Hz, one of more than two channels as the server folds it down to
  /// stereo. A block's format never changes while the engine runs.
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
