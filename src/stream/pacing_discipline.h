#pragma once

#include "core/queue.h"

#include <array>
#include <chrono>
#include <cstddef>

namespace quorin::stream {

/// Keeps the ticks of the send timer in step with the clock of the capture: says, after each tick,
/// by how much the following ones should move. Pure; confined to the pacing queue.
///
/// It steers how long chunks wait for their tick. Chunks arrive in bursts and a tick must not come
/// before the latest of them, so the wait that counts is the second smallest of the last 8 s: one
/// accident moves nothing, chunks that keep coming late get room. That wait is held at `kHeadroom`:
/// a capture clock that runs slow makes it shrink, a fast one makes it grow, and a backlog shows as
/// whole chunks of it. One number, and one loop around it, holds phase, rate and depth of the
/// queue.
class PacingDiscipline {
 public:
  using Duration = dispatch::Duration;

  /// How long before its tick the latest chunk should be there.
  static constexpr Duration kHeadroom = std::chrono::milliseconds(3);
  /// How late a tick may be that waits for its chunk, and the largest step later.
  static constexpr Duration kLeeway = std::chrono::milliseconds(5);
  /// The largest step earlier: a backlog is sent twice as fast.
  static constexpr Duration kMaxStepEarlier = std::chrono::milliseconds(10);
  /// The largest correction a tick in steady state: 2000 ppm, ten times what clocks differ by.
  static constexpr Duration kMaxSlew = std::chrono::microseconds(40);

  /// A tick took a chunk that had `waited` since it arrived; negative when the tick waited for the
  /// chunk. Returns how far to move all later ticks; positive is later.
  Duration sent(Duration waited);

  /// A tick found no chunk.
  void starved();

 private:
  static constexpr std::size_t kMeasured = 400;  // 8 s
  static constexpr std::size_t kLearned = 16;    // 0.3 s

  void noticeBacklog(Duration waited);
  Duration secondSmallest() const;

  /// Waits, less what the ticks had moved by then: they show the capture alone. Since the stream
  /// began; the newest overwrites the oldest.
  std::array<Duration, kMeasured> waits_{};
  std::size_t count_ = 0;
  Duration moved_{0};           ///< of the ticks, since the stream began
  Duration step_{0};            ///< what is left of a step under way
  Duration backlog_{0};         ///< the smallest wait of those in a row
  std::size_t backlogged_ = 0;  ///< chunks in a row that waited for a tick too many
  std::size_t starvedInARow_ = 0;
};

}  // namespace quorin::stream
