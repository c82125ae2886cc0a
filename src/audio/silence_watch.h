#pragma once

#include "core/scheduler.h"
#include "wire/audio_chunk.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <functional>
#include <memory>

namespace quorin::audio {

/// The part of the silence watch that runs on the capture thread; shared with the chunk handler.
/// Never waits and never allocates.
class SoundDetector {
 public:
  /// One thread at a time. Any non-zero sample counts as sound.
  void inspect(wire::AudioChunkView chunk) {
    float peak = 0;
    for (const float sample : chunk) peak = std::max(peak, std::abs(sample));
    if (peak > peak_.load(std::memory_order_relaxed)) {
      peak_.store(peak, std::memory_order_relaxed);
    }
    if (peak != 0.0F) sounded_.store(true, std::memory_order_relaxed);
  }

  /// The largest absolute sample since the last call, for a level meter. Any thread.
  float takePeak() { return peak_.exchange(0, std::memory_order_relaxed); }

  /// Whether there was sound since the last call. Any thread.
  bool takeSounded() { return sounded_.exchange(false, std::memory_order_relaxed); }

 private:
  std::atomic<bool> sounded_{false};
  std::atomic<float> peak_{0};
};

/// Detects that a running stream is silent: chunks of zeros, or no chunks. Confined to the main
/// queue.
class SilenceWatch {
 public:
  /// How long a stream may be silent before it is reported.
  static constexpr std::chrono::seconds kTimeout{5};

  /// `onChange` runs on the main queue, once when the stream has been silent for `kTimeout` (up to
  /// one check, 0.6 s, later), and once when sound returns. `scheduler` outlives this.
  SilenceWatch(dispatch::Scheduler& scheduler, std::function<void(bool silent)> onChange);

  std::shared_ptr<SoundDetector> detector() const { return detector_; }

  /// Started while a mode runs. Starting twice has no effect; stopping ends a silence without a
  /// report.
  void start();
  void stop();

  bool isSilent() const { return silent_; }

 private:
  void look();

  dispatch::Scheduler& scheduler_;
  const std::function<void(bool silent)> onChange_;
  const std::shared_ptr<SoundDetector> detector_ = std::make_shared<SoundDetector>();
  dispatch::TimePoint lastSound_;
  bool silent_ = false;
  std::unique_ptr<dispatch::Timer> timer_;
};

}  // namespace quorin::audio
