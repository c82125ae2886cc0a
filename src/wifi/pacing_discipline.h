#pragma once

#include "platform/dispatch/queue.h"
#include "wire/audio_chunk.h"

#include <array>
#include <chrono>
#include <cstddef>

namespace quorin::wifi {

/// Keeps the ticks of the send timer in step with the clock of the capture: says, after each
/// tick, by how much the following ones should move.
///
/// What it steers is the *tightest wait*: the shortest time that a chunk has lain in the queue
/// before its tick, but for the two shortest in a hundred, which tell of the machine and not of the
/// capture. Chunks arrive in bursts, and a tick must not come before the latest of them; when the
/// tightest wait is a small headroom, every chunk is there in time and none waits longer than the
/// bursts demand. A capture clock that runs slow makes it shrink, a fast one makes it grow, and a
/// backlog shows as a tightest wait of whole chunks. So one number, and one loop around it, holds
/// the phase, the rate and the depth of the queue.
///
/// Pure; confined to the pacing queue.
class PacingDiscipline {
 public:
  using Duration = dispatch::Duration;

  PacingDiscipline();

  /// How long before its tick the latest chunk of a burst should be there, so that the two in a
  /// hundred are still in time. Grows from the first to the second with every chunk that comes too
  /// late all the same.
  static constexpr Duration kHeadroom = std::chrono::milliseconds(3);
  static constexpr Duration kMaxHeadroom = std::chrono::milliseconds(5);
  /// Largest correction a tick in steady state: 2000 ppm, ten times what clocks differ by.
  static constexpr Duration kMaxSlew = std::chrono::microseconds(40);
  /// Largest correction a tick at the start of a stream and with a backlog: the timer's leeway.
  static constexpr Duration kMaxStep = std::chrono::milliseconds(5);

  /// A tick took a chunk that had `waited` since it arrived. Returns how far to move all later
  /// ticks; positive is later.
  Duration sent(Duration waited);

  /// A tick found no chunk.
  void starved();

  /// Chunks left the queue without a tick.
  void dropped(std::size_t chunks);

  /// Forgets what it has learned: the next chunk begins a new stream.
  void restart() { *this = PacingDiscipline(); }

 private:
  void resumeAfter(std::size_t ticksWithout);
  void measure(Duration waited);
  void beginHundred();
  void ticksMoved(Duration later);

  static constexpr Duration kUnknown = std::chrono::hours(1);

  std::size_t ignored_ = 0;    ///< chunks at the start of the stream
  std::size_t unsettled_ = 0;  ///< chunks still to come whose every wait counts
  bool aligned_ = false;       ///< the first step has begun
  bool stepping_ = false;

  std::size_t starvedInARow_ = 0;
  std::size_t missing_ = 0;    ///< chunks that were dropped: a tick without them tells nothing
  std::size_t heldUp_ = 0;     ///< chunks still to come that an accident held up
  std::size_t sinceLate_ = 0;  ///< chunks since one came too late
  std::size_t roomKept_ = 0;   ///< hundreds for which chunks that keep coming late have their room

  Duration headroom_ = kHeadroom;
  Duration tightest_ = kUnknown;
  std::array<Duration, 3> shortest_{};  ///< waits of the present hundred, in their order
  std::size_t measured_ = 0;            ///< of the present hundred
};

}  // namespace quorin::wifi
