#include "wifi/pacing_discipline.h"

#include <algorithm>

namespace quorin::wifi {
namespace {

using std::chrono::microseconds;
using Duration = PacingDiscipline::Duration;

constexpr Duration kChunk = wire::kChunkDuration;

// A stream begins with whatever the audio server had in store; its rhythm shows afterwards. Half
// a second until the first step: two rounds of PipeWire's 15 fragments for 8 chunks.
constexpr std::size_t kIgnoredChunks = 8;
constexpr std::size_t kLearnedChunks = 17;

// An old burst is forgotten at 500 us a hundred chunks, 250 ppm: just faster than a capture clock
// that is 200 ppm fast moves the waits. Slower would lag behind it, faster would forget rare
// bursts.
constexpr Duration kForgetting = microseconds(500);

// Closes 1/100 of the gap a tick (a time constant of 2 s). Quicker, and the ticks would follow
// every odd hundred; slower, and 200 ppm would cost more than the 0.4 ms of standing error they do.
constexpr int kGain = 100;

// Half a chunk more than needed in every wait is a backlog: a tick was lost or found nothing.
constexpr Duration kBacklog = kChunk / 2;
constexpr std::size_t kMeasuredChunks = 100;  // 2 s

// A chunk that comes so many ticks late was late; one that comes later is sound that had stopped.
constexpr std::size_t kLateByAtMost = 2;
constexpr Duration kHeadroomStep = std::chrono::milliseconds(1);
// One that comes late alone was an accident of the machine: to make room for the next of its kind
// would hold back all sound for seconds. Those that keep coming get it once the headroom, which
// costs less, has grown as far as it may.
constexpr std::size_t kAloneFor = 400;  // 8 s
constexpr std::size_t kRoomKept = kAloneFor / kMeasuredChunks;

constexpr std::size_t kStarvedAtEnd = 25;  // 0.5 s without sound ends a stream

}  // namespace

PacingDiscipline::PacingDiscipline() : unsettled_(kLearnedChunks) {
  beginHundred();
}

Duration PacingDiscipline::sent(Duration waited) {
  const auto ticksWithout = starvedInARow_ - std::min(starvedInARow_, missing_);
  starvedInARow_ = 0;
  missing_ = 0;
  ++sinceLate_;
  if (ignored_ < kIgnoredChunks) {
    ++ignored_;
    return Duration::zero();
  }

  if (ticksWithout > 0) resumeAfter(ticksWithout);
  if (heldUp_ > 0) {
    --heldUp_;
    return Duration::zero();
  }
  measure(waited);
  if (!aligned_) return Duration::zero();

  const auto excess = tightest_ - headroom_;
  if (excess > kBacklog) stepping_ = true;
  const auto shift = stepping_ ? std::clamp(-excess, -kMaxStep, kMaxStep)
                               : std::clamp(-excess / kGain, -kMaxSlew, kMaxSlew);
  if (shift == -excess) stepping_ = false;
  ticksMoved(shift);
  return shift;
}

void PacingDiscipline::resumeAfter(std::size_t ticksWithout) {
  // Were a few chunks held up, or does the capture come later from now on? Those that follow them
  // will tell.
  heldUp_ = ticksWithout;
  unsettled_ = kLearnedChunks;
  beginHundred();

  if (ticksWithout > kLateByAtMost) return;
  if (headroom_ == kMaxHeadroom && sinceLate_ <= kAloneFor) {
    heldUp_ = 0;
    roomKept_ = kRoomKept;
  }
  if (aligned_) headroom_ = std::min(headroom_ + kHeadroomStep, kMaxHeadroom);
  sinceLate_ = 0;
}

void PacingDiscipline::measure(Duration waited) {
  if (unsettled_ > 0) {
    tightest_ = std::min(tightest_, waited);
    if (--unsettled_ == 0 && !aligned_) aligned_ = stepping_ = true;
  }
  if (waited < shortest_.back()) {
    shortest_.back() = waited;
    std::ranges::sort(shortest_);
  }
  if (++measured_ < kMeasuredChunks) return;

  const auto shortest = shortest_.front();
  const auto usual = shortest_.back();
  beginHundred();
  if (roomKept_ > 0) {
    const bool stillNeeded = shortest < usual - headroom_;
    roomKept_ = stillNeeded ? kRoomKept : roomKept_ - 1;
    tightest_ = std::min(tightest_ + kForgetting, shortest);
  } else {
    tightest_ = usual > tightest_ + kBacklog ? usual : std::min(tightest_ + kForgetting, usual);
  }
}

void PacingDiscipline::beginHundred() {
  shortest_.fill(kUnknown);
  measured_ = 0;
}

void PacingDiscipline::starved() {
  if (++starvedInARow_ >= kStarvedAtEnd) {
    restart();
    return;
  }
  ticksMoved(kChunk);  // all that follows leaves one tick later
}

void PacingDiscipline::dropped(std::size_t chunks) {
  missing_ += chunks;
  ticksMoved(-kChunk * static_cast<Duration::rep>(chunks));
  // Ticks that the machine lost are not in the sum, so it may come out below what can be.
  tightest_ = std::max(tightest_, Duration::zero());
  for (auto& wait : shortest_) wait = std::max(wait, Duration::zero());
}

void PacingDiscipline::ticksMoved(Duration later) {
  tightest_ += later;
  for (auto& wait : shortest_) wait += later;
}

}  // namespace quorin::wifi
