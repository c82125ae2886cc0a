#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

namespace quorin::audio {

/// Cuts a stream of interleaved samples into blocks of fixed length, without loss or duplication.
/// Allocates at construction only.
class Reblocker {
 public:
  explicit Reblocker(std::size_t samplesPerBlock) : blockSize_(samplesPerBlock) {
    pending_.reserve(blockSize_);
  }

  /// Calls `deliver(std::span<const float>)` for every block that is complete.
  void push(std::span<const float> samples, auto&& deliver) {
    while (!samples.empty()) {
      if (pending_.empty() && samples.size() >= blockSize_) {
        deliver(samples.first(blockSize_));  // without a copy
        samples = samples.subspan(blockSize_);
        continue;
      }
      const auto taken = std::min(samples.size(), missing());
      pending_.insert(pending_.end(), samples.begin(),
                      samples.begin() + static_cast<std::ptrdiff_t>(taken));
      samples = samples.subspan(taken);
      deliverIfComplete(deliver);
    }
  }

  void pushSilence(std::size_t count, auto&& deliver) {
    while (count > 0) {
      const auto taken = std::min(count, missing());
      pending_.resize(pending_.size() + taken);
      count -= taken;
      deliverIfComplete(deliver);
    }
  }

  void clear() { pending_.clear(); }

  std::size_t missing() const { return blockSize_ - pending_.size(); }  ///< to the next block

 private:
  void deliverIfComplete(auto&& deliver) {
    if (pending_.size() < blockSize_) return;
    deliver(std::span<const float>(pending_));
    pending_.clear();
  }

  std::size_t blockSize_;
  std::vector<float> pending_;
};

}  // namespace quorin::audio
