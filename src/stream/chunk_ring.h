#pragma once

#include "stream/timed_chunk.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <utility>

namespace quorin::stream {

/// Carries chunks from the capture thread to the pacing queue. One thread pushes, one drains;
/// neither allocates, locks or waits.
///
/// 16 slots are 0.32 s, more than the frame queue keeps: only a pacing thread that stands still for
/// longer loses chunks here, the newest.
class ChunkRing {
 public:
  static constexpr std::size_t kSlots = 16;

  /// Capture thread. False when full; the chunk is then lost.
  bool push(wire::AudioChunkView samples, dispatch::TimePoint arrived,
            Arrival arrival = Arrival::kWatched) {
    const auto tail = tail_.load(std::memory_order_relaxed);
    if (tail - head_.load(std::memory_order_acquire) == kSlots) return false;
    auto& slot = (*slots_)[tail % kSlots];
    slot.arrived = arrived;
    slot.arrival = arrival;
    std::copy(samples.begin(), samples.end(), slot.samples.begin());
    tail_.store(tail + 1, std::memory_order_release);
    return true;
  }

  /// Pacing queue. Hands over, oldest first, what was pushed before the call.
  template <typename Consumer>
  void drain(Consumer&& consume) {
    const auto tail = tail_.load(std::memory_order_acquire);
    for (auto head = head_.load(std::memory_order_relaxed); head != tail; ++head) {
      consume(std::as_const((*slots_)[head % kSlots]));
      head_.store(head + 1, std::memory_order_release);
    }
  }

 private:
  using Slots = std::array<TimedChunk, kSlots>;
  std::unique_ptr<Slots> slots_ = std::make_unique<Slots>();

  // A cache line each, so that the two threads do not take it from one another.
  static constexpr std::size_t kCacheLine = 64;
  alignas(kCacheLine) std::atomic<std::size_t> tail_{0};
  alignas(kCacheLine) std::atomic<std::size_t> head_{0};
};

}  // namespace quorin::stream
