#pragma once

#include "stream/timed_chunk.h"

#include <array>
#include <cstddef>

namespace quorin::stream {

/// The chunks waiting to be sent, oldest first. Confined to the pacing queue; allocates nothing.
///
/// Bounded so that latency cannot creep: an append that leaves more than
/// `kAudioMaxQueueFrames` chunks (200 ms) keeps only the `kKeptOnOverflow` newest (40 ms).
class AudioFrameQueue {
 public:
  static constexpr std::size_t kAudioMaxQueueFrames = 10;
  static constexpr std::size_t kKeptOnOverflow = 2;

  /// Returns how many chunks an overflow threw away (0 when there was none).
  std::size_t append(const TimedChunk& chunk);

  /// Null when nothing waits. The chunk stays valid until the next `append`.
  const TimedChunk* takeOldest();

  /// Returns how many chunks it threw away.
  std::size_t clear();

  std::size_t size() const { return size_; }

 private:
  void removeOldest(std::size_t count);

  // One slot more than may wait: an append comes before the cut.
  std::array<TimedChunk, kAudioMaxQueueFrames + 1> slots_{};
  std::size_t oldest_ = 0;
  std::size_t size_ = 0;
};

}  // namespace quorin::stream
