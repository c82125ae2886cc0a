#include "stream/audio_frame_queue.h"

namespace quorin::stream {

std::size_t AudioFrameQueue::append(const TimedChunk& chunk) {
  slots_[(oldest_ + size_) % slots_.size()] = chunk;
  ++size_;
  if (size_ <= kAudioMaxQueueFrames) return 0;

  const auto excess = size_ - kKeptOnOverflow;
  removeOldest(excess);
  return excess;
}

const TimedChunk* AudioFrameQueue::takeOldest() {
  if (size_ == 0) return nullptr;
  const auto* chunk = &slots_[oldest_];
  removeOldest(1);
  return chunk;
}

std::size_t AudioFrameQueue::clear() {
  const auto count = size_;
  removeOldest(count);
  return count;
}

void AudioFrameQueue::removeOldest(std::size_t count) {
  oldest_ = (oldest_ + count) % slots_.size();
  size_ -= count;
}

}  // namespace quorin::stream
