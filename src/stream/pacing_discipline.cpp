#include "stream/pacing_discipline.h"

#include <algorithm>
#include <span>
#include <utility>

namespace quorin::stream {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using Duration = PacingDiscipline::Duration;

constexpr Duration kChunk = wire::kChunkDuration;

// A stream begins with whatever the audio server had in store; its rhythm shows afterwards. Half
// a second until the first step: two rounds of PipeWire's 15 fragments for 8 chunks.
constexpr std::size_t kIgnoredChunks = 8;
constexpr std::size_t kLearnedChunks = 17;
// Long enough to meet what comes late once in a hundred: to make room for it later would move all
// sound of a stream that somebody has begun to listen to.
constexpr std::size_t kSettledChunks = 150;
constexpr std::size_t kFollowedChunks = 100;

// The usual chunk: below it are the latest twentieth.
constexpr std::size_t kLatestPart = 20;

// What the latest of a hundred get beyond their own lateness.
constexpr Duration kMargin = microseconds(500);
constexpr Duration kMostRoom = PacingDiscipline::kMaxHeadroom - kMargin;
// Room is given back at 50 us a hundred chunks: lates that come once a minute keep theirs, and the
// ticks do not wander.
constexpr Duration kForgetting = microseconds(50);

// Closes 1/100 of the gap a tick (a time constant of 2 s). Quicker, and the ticks would follow
// every odd hundred; slower, and 200 ppm would cost more than the 0.4 ms of standing error they do.
constexpr int kGain = 100;
// A gap that is no reason to move: most capture clocks are the computer's own.
constexpr Duration kTolerance = microseconds(250);

// So much more than needed in every wait is a chunk that waits for nothing: a tick was lost or
// found none.
constexpr Duration kBacklog = kChunk * 3 / 4;

// A chunk that comes so many ticks late was late; one that comes later is sound that had stopped.
constexpr std::size_t kLateByAtMost = 2;
// One that comes too late for its tick alone was an accident of the machine: to make room for the
// next of its kind would hold back all sound for seconds. Those that keep coming get it.
constexpr std::size_t kAloneFor = 400;  // 8 s
constexpr int kOftenFor = 4;            // hundreds: as long

constexpr std::size_t kStarvedAtEnd = 25;  // 0.5 s without sound ends a stream

// A chunk is fetched so much later than it is expected: what the clocks and threads may wobble.
constexpr Duration kFetchMargin = milliseconds(1);

/// What is left of `gap` outside of the tolerance.
Duration beyondTolerance(Duration gap) {
  return gap - std::clamp(gap, -kTolerance, kTolerance);
}

}  // namespace

Duration PacingDiscipline::sent(Duration waited, Arrival arrival) {
  starvedInARow_ = 0;
  const auto ticksWithout = std::exchange(withoutReason_, 0);
  ++sinceLate_;
  if (stage_ == Stage::kIgnoring) {
    if (++seen_ == chunksOf(stage_)) enter(Stage::kLearning);
    return Duration::zero();
  }

  if (ticksWithout > 0) resumeAfter(ticksWithout, waited - moved_);
  if (heldUp_ > 0) {
    --heldUp_;
    return Duration::zero();
  }
  measure(waited - moved_, arrival);
  return aligned_ ? shift() : Duration::zero();
}

std::size_t PacingDiscipline::chunksOf(Stage stage) {
  switch (stage) {
    case Stage::kIgnoring:
      return kIgnoredChunks;
    case Stage::kLearning:
      return kLearnedChunks;
    case Stage::kSettling:
      return kSettledChunks;
    case Stage::kFollowing:
      break;
  }
  return kFollowedChunks;
}

void PacingDiscipline::enter(Stage stage) {
  stage_ = stage;
  measured_ = 0;
  seen_ = 0;
}

void PacingDiscipline::resumeAfter(std::size_t ticksWithout, Duration earliness) {
  const bool wasLate = ticksWithout <= kLateByAtMost;
  const bool alone = sinceLate_ > kAloneFor;
  if (wasLate) sinceLate_ = 0;
  if (wasLate && !alone && aligned_) {
    room_ = std::clamp(usual_ - earliness, room_, kChunk);
    comeLateOften_ = kOftenFor;
    stepping_ = true;
    if (stage_ == Stage::kLearning) enter(Stage::kSettling);  // there it would be the usual one
    return;
  }
  // Were a few chunks held up, or does the capture come later from now on? Those that follow them
  // will tell.
  heldUp_ = ticksWithout;
  enter(Stage::kLearning);
}

void PacingDiscipline::measure(Duration earliness, Arrival arrival) {
  latest_ = seen_ == 0 ? earliness : std::min(latest_, earliness);
  if (arrival == Arrival::kWatched) earliness_[measured_++] = earliness;
  if (stage_ == Stage::kLearning) usual_ = seen_ == 0 ? earliness : std::min(usual_, earliness);
  if (++seen_ == chunksOf(stage_)) conclude();
}

void PacingDiscipline::conclude() {
  if (const auto all = std::span(earliness_).first(measured_); !all.empty()) {
    const auto usual = all.begin() + static_cast<std::ptrdiff_t>(all.size() / kLatestPart);
    std::ranges::nth_element(all, usual);
    usual_ = *usual;
  }
  makeRoom(usual_ - latest_);
  missing_ = 0;  // bursts hide some

  if (stage_ != Stage::kFollowing) aligned_ = stepping_ = true;
  enter(stage_ == Stage::kLearning ? Stage::kSettling : Stage::kFollowing);
}

void PacingDiscipline::makeRoom(Duration late) {
  const bool tooLate = late > kMostRoom;
  const auto before = std::exchange(lateInLastHundred_, late);
  if (comeLateOften_ > 0) {
    if (stage_ == Stage::kFollowing) comeLateOften_ = tooLate ? kOftenFor : comeLateOften_ - 1;
  } else if (tooLate) {
    late = Duration::zero();
  } else if (stage_ == Stage::kFollowing) {
    late = std::min(late, before);  // once is no reason to move
  }
  room_ = std::max(room_ - kForgetting, std::min(late, kChunk));
  if (comeLateOften_ == 0) room_ = std::min(room_, kMostRoom);
}

Duration PacingDiscipline::shift() {
  const auto excess = usual_ + moved_ - headroom();
  if (excess > kBacklog) stepping_ = true;
  const auto later = stepping_ ? std::clamp(-excess, -kLeeway, kLeeway)
                               : std::clamp(-beyondTolerance(excess) / kGain, -kMaxSlew, kMaxSlew);
  if (later == -excess) stepping_ = false;
  moved_ += later;
  return later;
}

Duration PacingDiscipline::headroom() const {
  return std::max(kHeadroom, room_ + kMargin);
}

std::optional<Duration> PacingDiscipline::fetchLead() const {
  if (stage_ != Stage::kFollowing || stepping_ || starvedInARow_ > 0) return std::nullopt;
  return headroom() - kFetchMargin;
}

void PacingDiscipline::starved() {
  if (++starvedInARow_ >= kStarvedAtEnd) {
    restart();
    return;
  }
  moved_ += kChunk;  // all that follows leaves one tick later
  if (missing_ > 0) {
    --missing_;
  } else {
    ++withoutReason_;
  }
}

void PacingDiscipline::cut(std::size_t chunks) {
  if (chunks == 0) return;
  moved_ -= kChunk * static_cast<Duration::rep>(chunks);
  if (stage_ == Stage::kIgnoring) return;
  // Ticks that the machine lost are not in the sum, so it may come out below what can be.
  if (aligned_) moved_ = std::max(moved_, -usual_);
  enter(stage_);
}

void PacingDiscipline::cleared(std::size_t chunks) {
  missing_ += chunks;
  moved_ -= kChunk * static_cast<Duration::rep>(chunks);  // until their ticks have passed
}

}  // namespace quorin::stream
