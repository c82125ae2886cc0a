#include "stream/pacing_discipline.h"

#include "stream/audio_frame_queue.h"

#include <algorithm>

namespace quorin::stream {
namespace {

using Duration = PacingDiscipline::Duration;

constexpr Duration kChunk = wire::kChunkDuration;

// Each tick corrects 1/kGain of the gap. Faster would follow single chunks; slower would give 200
// ppm of drift more than 0.4 ms of standing error.
constexpr int kGain = 100;  // a time constant of 2 s
// Gaps below this are not corrected: a receiver sees the correction as jitter, but not the gap.
constexpr Duration kTolerance = std::chrono::milliseconds(2);

Duration slew(Duration gap) {
  const auto later = (gap - std::clamp(gap, -kTolerance, kTolerance)) / kGain;
  return std::clamp(later, -PacingDiscipline::kMaxSlew, PacingDiscipline::kMaxSlew);
}

}  // namespace

PacingDiscipline::TimePoint PacingDiscipline::nextLook() const {
  return tick_ + (halfway_ ? kChunk / 2 : Duration::zero()) +
         (waiting_ ? kLeeway : Duration::zero());
}

void PacingDiscipline::looked(TimePoint now, std::optional<TimePoint> arrived) {
  // After a stall of the machine, chunks that arrived meanwhile are overdue.
  const auto missed = std::max((now - tick_) / kChunk, Duration::rep{0});
  tick_ += missed * kChunk;
  overdue_ += static_cast<std::size_t>(missed);

  waiting_ = !arrived && !waiting_;
  if (waiting_) return;

  if (!arrived && sent_) overdue_ = 0;  // a gap in the sound: these chunks do not exist
  sent_ = arrived.has_value();
  if (halfway_ && sent_) --overdue_;
  if (!halfway_ && !sent_) ++overdue_;
  if (overdue_ >= AudioFrameQueue::kAudioMaxQueueFrames) restart();
  if (sent_) measure(tick_ - *arrived);
  halfway_ = !halfway_ && overdue_ > 0;
  if (!halfway_) tick_ += kChunk + shift();
}

void PacingDiscipline::measure(Duration waited) {
  waits_[count_++ % waits_.size()] = waited - moved_;
  if (count_ == kSettled) waits_.fill(waits_[count_ - 1]);
}

/// The offset to apply to the next and all later ticks; positive is later.
Duration PacingDiscipline::shift() {
  if (count_ < kLearned) return Duration::zero();
  auto shortest = Duration::max();
  auto second = Duration::max();
  for (const auto wait : waits_) {
    second = std::min(second, std::max(shortest, wait));
    shortest = std::min(shortest, wait);
  }
  const auto gap = kHeadroom - second - moved_;
  // Chunks later than the leeway: correct at once.
  aligning_ = aligning_ || count_ == kLearned || gap > kHeadroom + kLeeway;
  const auto later = aligning_ ? std::clamp(gap, -kMaxStep, kMaxStep) : slew(gap);
  aligning_ = aligning_ && later != gap;
  moved_ += later;
  return later;
}

}  // namespace quorin::stream
