#pragma once

#include "core/queue.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <optional>

namespace quorin::stream {

/// Decides when the send timer checks for a chunk. Pure; confined to the pacing queue.
///
/// One chunk leaves per 20 ms tick. A tick without a chunk waits up to `kLeeway`; then the chunk is
/// overdue. While chunks are overdue, the queue is also checked halfway between ticks, so that they
/// catch up without moving the ticks.
///
/// The ticks follow the capture's clock by the second shortest wait of the last 400 (8 s): a single
/// outlier has no effect, repeated lateness does. That wait is held at `kHeadroom`; it shrinks
/// where the capture's clock runs slow and grows where it runs fast.
class PacingDiscipline {
 public:
  using Duration = dispatch::Duration;
  using TimePoint = dispatch::TimePoint;

  /// How long before its tick the latest chunk should arrive.
  static constexpr Duration kHeadroom = std::chrono::milliseconds(3);
  /// Max wait for a late chunk.
  static constexpr Duration kLeeway = std::chrono::milliseconds(5);
  /// The largest step of a tick, while a new stream is aligned.
  static constexpr Duration kMaxStep = std::chrono::milliseconds(10);
  /// The largest correction of a tick in steady state, 2000 ppm: ten times what clocks differ by.
  static constexpr Duration kMaxSlew = std::chrono::microseconds(40);

  explicit PacingDiscipline(TimePoint firstTick = {}) : tick_(firstTick) {}

  /// When to check the queue next.
  TimePoint nextLook() const;

  /// Whether to check the queue as soon as a chunk arrives.
  bool isWaiting() const { return waiting_; }

  /// Reports a check of the queue at `now`: it gave the chunk that `arrived` then, or none.
  void looked(TimePoint now, std::optional<TimePoint> arrived);

 private:
  static constexpr std::size_t kSettled = 12;  // until then a backlog may still build up
  static constexpr std::size_t kLearned = 20;  // 0.4 s

  void restart() { *this = PacingDiscipline(tick_); }
  void measure(Duration waited);
  Duration shift();

  TimePoint tick_;           ///< the current tick, or the next one
  bool waiting_ = false;     ///< the last check found none; waiting up to `kLeeway`
  bool halfway_ = false;     ///< the next check is halfway after `tick_`
  bool aligning_ = false;    ///< correcting in steps of up to `kMaxStep`
  bool sent_ = false;        ///< the previous check found a chunk
  std::size_t overdue_ = 0;  ///< chunks whose tick has passed
  /// How long chunks waited, minus the movement of the ticks: the capture's jitter and drift alone.
  std::array<Duration, 400> waits_{};
  std::size_t count_ = 0;  ///< chunks measured since the stream began
  Duration moved_{0};      ///< total tick correction since the stream began
};

}  // namespace quorin::stream
