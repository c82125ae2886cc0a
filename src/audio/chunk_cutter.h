#pragma once

#include "wire/audio_chunk.h"

#include <algorithm>
#include <cstddef>
#include <span>

namespace quorin::audio {

/// Cuts a stream of samples into chunks. Between two appends it holds less than one chunk, in a
/// buffer of its own: nothing is ever allocated.
class ChunkCutter {
 public:
  /// Calls `deliver(wire::AudioChunkView)` for every chunk that is complete, oldest first; the
  /// view is valid during the call. Returns their number.
  int append(std::span<const float> samples, auto&& deliver) {
    int chunks = 0;
    while (fill_ + samples.size() >= wire::kChunkFrames) {
      const auto missing = wire::kChunkFrames - fill_;
      if (fill_ == 0) {
        deliver(samples.first<wire::kChunkFrames>());
      } else {
        store(samples.first(missing));
        deliver(wire::AudioChunkView(accumulator_));
      }
      fill_ = 0;
      samples = samples.subspan(missing);
      ++chunks;
    }
    store(samples);
    return chunks;
  }

  std::size_t waiting() const { return fill_; }  ///< samples

 private:
  void store(std::span<const float> samples) {
    std::ranges::copy(samples, accumulator_.begin() + static_cast<std::ptrdiff_t>(fill_));
    fill_ += samples.size();
  }

  wire::AudioChunk accumulator_{};
  std::size_t fill_ = 0;
};

}  // namespace quorin::audio
