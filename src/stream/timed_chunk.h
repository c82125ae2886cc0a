#pragma once

#include "core/queue.h"
#include "wire/audio_chunk.h"

#include <cstdint>

namespace quorin::stream {

/// What the moment at which a chunk was handed over tells.
enum class Arrival : std::uint8_t {
  kWatched,  ///< when it came
  kFetched,  ///< when it was needed: it may have been there before
};

/// A chunk and the moment at which the capture handed it over.
struct TimedChunk {
  dispatch::TimePoint arrived;
  Arrival arrival = Arrival::kWatched;
  wire::AudioChunk samples;
};

}  // namespace quorin::stream
