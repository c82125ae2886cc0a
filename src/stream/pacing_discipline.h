#pragma once

#include "core/queue.h"
#include "stream/timed_chunk.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace quorin::stream {

/// Keeps the ticks of the send timer in step with the clock of the capture: says, after each
/// tick, by how much the following ones should move.
///
/// What it steers is how long the *usual* chunk waits for its tick: of a hundred chunks all but
/// five wait at least as long. Chunks arrive in bursts, and a tick must not come before the latest
/// of them; when the usual wait is a small headroom, every chunk is there in time and none waits
/// longer than the bursts demand. A capture clock that runs slow makes that wait shrink, a fast one
/// makes it grow, and a backlog shows as whole chunks of it. So one number, and one loop around it,
/// holds the phase, the rate and the depth of the queue.
///
/// Pure; confined to the pacing queue.
class PacingDiscipline {
 public:
  using Duration = dispatch::Duration;

  /// How long before its tick the usual chunk should be there. More, up to the second, where the
  /// latest of a hundred come so much later than the usual one.
  static constexpr Duration kHeadroom = std::chrono::milliseconds(3);
  static constexpr Duration kMaxHeadroom = std::chrono::microseconds(5500);
  /// How late a tick may be that waits for its chunk, and the largest correction a tick while a
  /// stream is being aligned.
  static constexpr Duration kLeeway = std::chrono::milliseconds(5);
  /// Largest correction a tick in steady state: 2000 ppm, ten times what clocks differ by.
  static constexpr Duration kMaxSlew = std::chrono::microseconds(40);

  /// A tick took a chunk that had `waited` since it arrived; negative when the tick waited for the
  /// chunk. Returns how far to move all later ticks; positive is later.
  Duration sent(Duration waited, Arrival arrival = Arrival::kWatched);

  /// A tick found no chunk.
  void starved();

  /// Chunks were cut from a queue that had become too long: those that are left wait less.
  void cut(std::size_t chunks);

  /// Chunks were thrown away, and each leaves a tick without one.
  void cleared(std::size_t chunks);

  /// Whether a tick that finds no chunk should wait for it: the stream flows, this one is late.
  bool expectsChunk() const { return aligned_ && starvedInARow_ == 0; }

  /// How long before its tick a chunk may be fetched, instead of watched for. None while every
  /// arrival is worth knowing. Some must be watched all the same: only they tell when chunks come.
  std::optional<Duration> fetchLead() const;

  /// Forgets what it has learned: the next chunk begins a new stream.
  void restart() { *this = PacingDiscipline(); }

 private:
  static constexpr std::size_t kMostMeasured = 150;

  /// A stream is aligned when it has been learned and again when it has settled; then it is
  /// followed.
  enum class Stage : std::uint8_t { kIgnoring, kLearning, kSettling, kFollowing };

  static std::size_t chunksOf(Stage stage);
  void enter(Stage stage);
  void resumeAfter(std::size_t ticksWithout, Duration earliness);
  void measure(Duration earliness, Arrival arrival);
  void conclude();
  void makeRoom(Duration late);
  Duration shift();
  Duration headroom() const;

  Stage stage_ = Stage::kIgnoring;
  bool aligned_ = false;  ///< the first step has begun
  bool stepping_ = false;

  /// By how much the ticks have moved since the stream began. Waits less this are *earliness*: it
  /// tells of the capture alone, whatever the ticks did meanwhile.
  Duration moved_{0};

  // Of the present stage's chunks, while following of the present hundred.
  std::array<Duration, kMostMeasured> earliness_{};  ///< of the chunks that were watched
  std::size_t measured_ = 0;                         ///< how many those are
  std::size_t seen_ = 0;
  Duration latest_{};  ///< the smallest earliness of all chunks

  Duration usual_{};  ///< earliness
  Duration room_{0};  ///< how much later than usual the latest come
  Duration lateInLastHundred_{0};
  int comeLateOften_ = 0;  ///< hundreds for which chunks that keep coming late have their room

  std::size_t starvedInARow_ = 0;
  std::size_t withoutReason_ = 0;  ///< of these
  std::size_t missing_ = 0;        ///< ticks still to come whose chunk was thrown away
  std::size_t heldUp_ = 0;         ///< chunks still to come that an accident held up
  std::size_t sinceLate_ = 0;      ///< chunks since a tick went without one
};

}  // namespace quorin::stream
