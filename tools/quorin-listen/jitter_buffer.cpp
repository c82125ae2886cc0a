#include "quorin-listen/jitter_buffer.h"

#include <algorithm>

namespace quorin::listen {

void JitterBuffer::push(std::span<const float> samples) {
  waiting_.insert(waiting_.end(), samples.begin(), samples.end());
  if (waiting_.size() > kMost) {
    waiting_.erase(waiting_.begin(), waiting_.end() - static_cast<std::ptrdiff_t>(kPrimed));
  }
  if (waiting_.size() >= kPrimed) playing_ = true;
}

void JitterBuffer::pull(std::span<float> samples) {
  const auto taken = playing_ ? std::min(samples.size(), waiting_.size()) : 0;
  const auto end = waiting_.begin() + static_cast<std::ptrdiff_t>(taken);
  std::copy(waiting_.begin(), end, samples.begin());
  waiting_.erase(waiting_.begin(), end);
  std::ranges::fill(samples.subspan(taken), 0.0F);
  if (playing_ && taken < samples.size()) {
    playing_ = false;
    ++timesEmpty_;
  }
}

}  // namespace quorin::listen
