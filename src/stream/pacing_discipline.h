#pragma once

#include "core/queue.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <optional>

namespace quorin::stream {

/// Decides when the send timer looks for a chunk. Pure; confined to the pacing queue.
///
/// One chunk leaves at each tick, every 20 ms. A tick that finds none waits for it, `kLeeway` at
/// most. After that its chunk is overdue, and while chunks are, there is a second look halfway to
/// the next tick: a late chunk delays few others, and the ticks stay where they are.
///
/// The ticks follow the capture's clock by the second shortest wait of the last 400 (8 s): one
/// accident moves nothing, chunks that keep coming late get room. That wait is held at `kHeadroom`;
/// it shrinks where the capture's clock runs slow and grows where it runs fast.
class PacingDiscipline {
 public:
  using Duration = dispatch::Duration;
  using TimePoint = dispatch::TimePoint;

  /// How long before its tick the latest chunk should be there.
  static constexpr Duration kHeadroom = std::chrono::milliseconds(3);
  /// How long a look waits for a chunk.
  static constexpr Duration kLeeway = std::chrono::milliseconds(5);
  /// The largest step of a tick, while a new stream is aligned.
  static constexpr Duration kMaxStep = std::chrono::milliseconds(10);
  /// The largest correction of a tick in steady state, 2000 ppm: ten times what clocks differ by.
  static constexpr Duration kMaxSlew = std::chrono::microseconds(40);

  explicit PacingDiscipline(TimePoint firstTick = {}) : tick_(firstTick) {}

  /// When to look at the queue next.
  TimePoint nextLook() const;

  /// Whether a chunk that arrives before then is to be looked for at once.
  bool isWaiting() const { return waiting_; }

  /// The queue was looked at `now` and gave the chunk that had `arrived`, or none.
  void looked(TimePoint now, std::optional<TimePoint> arrived);

 private:
  static constexpr std::size_t kSettled = 12;  // until then a backlog may still build up
  static constexpr std::size_t kLearned = 20;  // 0.4 s

  void restart() { *this = PacingDiscipline(tick_); }
  void measure(Duration waited);
  Duration shift();

  TimePoint tick_;           ///< the latest, or the next
  bool waiting_ = false;     ///< beyond a look that found none
  bool halfway_ = false;     ///< the look is the one after `tick_`
  bool aligning_ = false;    ///< by steps
  bool sent_ = false;        ///< the look before found a chunk
  std::size_t overdue_ = 0;  ///< chunks whose tick has passed
  /// How long chunks waited, less what the ticks had moved by then: the capture's part alone.
  std::array<Duration, 400> waits_{};
  std::size_t count_ = 0;  ///< chunks measured since the stream began
  Duration moved_{0};      ///< of the ticks, since then
};

}  // namespace quorin::stream
