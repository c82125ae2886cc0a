#pragma once

#include "core/queue.h"
#include "core/thread_safety.h"
#include "wire/audio_chunk.h"

#include <array>
#include <cstddef>
#include <memory>
#include <optional>

namespace quorin::stream {

/// The chunks waiting to be sent, oldest first: passes them from the capture thread to the pacing
/// queue. Any thread; allocates nothing after construction. Its lock is held for one chunk copy
/// only and has priority inheritance.
///
/// Bounded so that latency cannot creep: an append that leaves more than `kAudioMaxQueueFrames`
/// chunks (200 ms) keeps only the `kKeptOnOverflow` newest (40 ms).
class AudioFrameQueue {
 public:
  static constexpr std::size_t kAudioMaxQueueFrames = 10;
  static constexpr std::size_t kKeptOnOverflow = 2;

  /// True when the last `take` found none.
  bool append(wire::AudioChunkView samples, dispatch::TimePoint arrived);

  /// Copies out the oldest chunk and returns its arrival time; none when empty, and then the next
  /// `append` returns true.
  std::optional<dispatch::TimePoint> take(wire::AudioChunk& samples);

  void clear();

  /// Chunks discarded by overflows since construction.
  std::size_t overflowed() const;

 private:
  struct Slot {
    dispatch::TimePoint arrived;
    wire::AudioChunk samples;
  };
  // One slot more than the limit: `append` adds before it cuts.
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
