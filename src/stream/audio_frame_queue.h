#pragma once

#include "core/queue.h"
#include "core/thread_safety.h"
#include "wire/audio_chunk.h"

#include <array>
#include <cstddef>
#include <memory>
#include <optional>

namespace quorin::stream {

/// The chunks waiting to be sent, oldest first: the one place where the capture's thread and the
/// pacing meet. Any thread; allocates nothing after construction. Its lock is held for the copy of
/// one chunk and lends priority to its holder.
///
/// Bounded so that latency cannot creep: an append that leaves more than `kAudioMaxQueueFrames`
/// chunks (200 ms) keeps only the `kKeptOnOverflow` newest (40 ms).
class AudioFrameQueue {
 public:
  static constexpr std::size_t kAudioMaxQueueFrames = 10;
  static constexpr std::size_t kKeptOnOverflow = 2;

  /// True when the last `take` found none.
  bool append(wire::AudioChunkView samples, dispatch::TimePoint arrived);

  /// Copies the oldest chunk out and says when it arrived; none when nothing waits, and then the
  /// next `append` says so.
  std::optional<dispatch::TimePoint> take(wire::AudioChunk& samples);

  void clear();

  /// Chunks that overflows have thrown away, since construction.
  std::size_t overflowed() const;

 private:
  struct Slot {
    dispatch::TimePoint arrived;
    wire::AudioChunk samples;
  };
  // One slot more than may wait: an append comes before the cut.
  using Slots = std::array<Slot, kAudioMaxQueueFrames + 1>;

  void removeOldest(std::size_t count) REQUIRES(mutex_);

  mutable dispatch::Mutex mutex_;
  const std::unique_ptr<Slots> slots_ = std::make_unique<Slots>();
  std::size_t oldest_ GUARDED_BY(mutex_) = 0;
  std::size_t size_ GUARDED_BY(mutex_) = 0;
  std::size_t overflowed_ GUARDED_BY(mutex_) = 0;
  bool wanted_ GUARDED_BY(mutex_) = false;
};

}  // namespace quorin::stream
