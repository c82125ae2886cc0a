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

// An old burst is forgotten at 5 us a tick, 250 ppm: just faster than a capture clock that is
// 200 ppm fast moves the waits. Slower would lag behind it, faster would forget rare bursts.
constexpr Duration kForgetting = microseconds(5);

// Closes 1/256 of the gap a tick (a time constant of 5 s). Quicker, and the ticks would follow
// every odd wait; slower, and 200 ppm would cost more than the 1 ms of standing error they do.
constexpr int kGain = 256;

// Half a chunk more than needed in every wait is a backlog: a tick was lost or found nothing.
constexpr Duration kBacklog = kChunk / 2;
constexpr std::size_t kBacklogChunks = 200;  // 4 s

// A chunk that comes so many ticks late was late; one that comes later is sound that had stopped.
constexpr std::size_t kLateByAtMost = 2;
// One that comes alone and so late that the wait it leaves is no backlog yet was an accident of the
// machine: making room for the next of its kind would hold back all sound for seconds. Two are a
// rhythm.
constexpr std::size_t kAloneFor = 2 * kBacklogChunks;
constexpr Duration kHeadroomStep = std::chrono::milliseconds(1);

constexpr std::size_t kStarvedAtEnd = 25;  // 0.5 s without sound ends a stream

}  // namespace

Duration PacingDiscipline::sent(Duration waited) {
  const bool late = starvedInARow_ > missing_ && starvedInARow_ <= missing_ + kLateByAtMost;
  const bool accident = late && waited <= headroom_ + kBacklog && sinceLate_ >= kAloneFor;
  sinceLate_ = late ? 0 : sinceLate_ + 1;
  starvedInARow_ = 0;
  missing_ = 0;
  if (++chunks_ <= kIgnoredChunks) return Duration::zero();

  if (!accident) {
    tightest_ = std::min(tightest_ + kForgetting, waited);
    recent_ = std::min(recent_, waited);
  }
  if (chunks_ < kIgnoredChunks + kLearnedChunks) return Duration::zero();
  if (chunks_ == kIgnoredChunks + kLearnedChunks) stepping_ = true;

  if (++recentChunks_ == kBacklogChunks) {
    if (recent_ > tightest_ + kBacklog) tightest_ = recent_;
    recent_ = kUnknown;
    recentChunks_ = 0;
  }

  if (late) headroom_ = std::min(headroom_ + kHeadroomStep, kMaxHeadroom);
  const auto excess = tightest_ - headroom_;
  if (excess > kBacklog) stepping_ = true;
  const auto shift = stepping_ ? std::clamp(-excess, -kMaxStep, kMaxStep)
                               : std::clamp(-excess / kGain, -kMaxSlew, kMaxSlew);
  if (shift == -excess) stepping_ = false;
  ticksMoved(shift);
  return shift;
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
  recent_ = std::max(recent_, Duration::zero());
}

void PacingDiscipline::ticksMoved(Duration later) {
  tightest_ += later;
  recent_ += later;
}

}  // namespace quorin::wifi
