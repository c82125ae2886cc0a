#include "stream/audio_frame_queue.h"

#include <algorithm>
#include <utility>

namespace quorin::stream {

bool AudioFrameQueue::append(wire::AudioChunkView samples, dispatch::TimePoint arrived) {
  const dispatch::Lock lock(mutex_);
  auto& slot = (*slots_)[(oldest_ + size_) % slots_->size()];
  slot.arrived = arrived;
  std::ranges::copy(samples, slot.samples.begin());
  if (++size_ > kAudioMaxQueueFrames) {
    overflowed_ += size_ - kKeptOnOverflow;
    removeOldest(size_ - kKeptOnOverflow);
  }
  return std::exchange(wanted_, false);
}

std::optional<dispatch::TimePoint> AudioFrameQueue::take(wire::AudioChunk& samples) {
  const dispatch::Lock lock(mutex_);
  wanted_ = size_ == 0;
  if (wanted_) return std::nullopt;
  const auto& slot = (*slots_)[oldest_];
  samples = slot.samples;
  removeOldest(1);
  return slot.arrived;
}

void AudioFrameQueue::clear() {
  const dispatch::Lock lock(mutex_);
  removeOldest(size_);
}

std::size_t AudioFrameQueue::overflowed() const {
  const dispatch::Lock lock(mutex_);
  return overflowed_;
}

void AudioFrameQueue::removeOldest(std::size_t count) {
  oldest_ = (oldest_ + count) % slots_->size();
  size_ -= count;
}

}  // namespace quorin::stream
