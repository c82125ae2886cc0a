#include "stream/pacing_discipline.h"

#include "wire/audio_chunk.h"

#include <algorithm>
#include <span>
#include <utility>

namespace quorin::stream {
namespace {

using Duration = PacingDiscipline::Duration;

constexpr Duration kChunk = wire::kChunkDuration;

// Closes 1/100 of the gap a tick (a time constant of 2 s). Quicker, and the ticks would follow
// every odd chunk; slower, and 200 ppm would cost more than the 0.4 ms of standing error they do.
constexpr int kGain = 100;
// A gap that is no reason to move: most capture clocks are the computer's own.
constexpr Duration kTolerance = std::chrono::microseconds(250);

// Up to two ticks without a chunk are jitter; beyond that the sound had stopped, and a new stream
// begins.
constexpr std::size_t kStarvedAtEnd = 3;

Duration slew(Duration gap) {
  const auto beyond = gap - std::clamp(gap, -kTolerance, kTolerance);
  return std::clamp(beyond / kGain, -PacingDiscipline::kMaxSlew, PacingDiscipline::kMaxSlew);
}

}  // namespace

Duration PacingDiscipline::sent(Duration waited) {
  // By its own tick, not by the one that took it at last; a stream's first chunk has none.
  const auto ticksLate = std::exchange(starvedInARow_, 0);
  const auto late = count_ > 0 ? kChunk * static_cast<Duration::rep>(ticksLate) : Duration::zero();
  waits_[count_++ % kMeasured] = waited - late - moved_;
  if (count_ < kLearned) return Duration::zero();

  noticeBacklog(waited);
  const auto gap = kHeadroom - secondSmallest() - moved_;
  // Chunks that come too late even for the leeway cost their ticks: room for them is made at once.
  if (count_ == kLearned || (step_ == Duration::zero() && gap > kHeadroom + kLeeway)) step_ = gap;
  const bool stepping = step_ != Duration::zero();
  const auto later = stepping ? std::clamp(step_, -kMaxStepEarlier, kLeeway) : slew(gap);
  if (stepping) step_ -= later;
  moved_ += later;
  return later;
}

void PacingDiscipline::starved() {
  if (++starvedInARow_ >= kStarvedAtEnd) *this = {};
}

/// A tick that the machine lost, or that went without its chunk, leaves every later chunk waiting
/// for one tick too many.
void PacingDiscipline::noticeBacklog(Duration waited) {
  if (waited < kChunk || count_ <= kLearned || step_ != Duration::zero()) {
    backlogged_ = 0;
    return;
  }
  backlog_ = backlogged_ == 0 ? waited : std::min(backlog_, waited);
  if (++backlogged_ < kLearned) return;
  const auto whole = backlog_ / kChunk * kChunk;
  moved_ += whole;  // the ticks have, as it turns out
  step_ = -whole;
  backlogged_ = 0;
}

Duration PacingDiscipline::secondSmallest() const {
  auto smallest = Duration::max();
  auto second = Duration::max();
  for (const auto wait : std::span(waits_).first(std::min(count_, kMeasured))) {
    second = std::min(second, std::max(smallest, wait));
    smallest = std::min(smallest, wait);
  }
  return second;
}

}  // namespace quorin::stream
