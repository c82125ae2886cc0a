#pragma once

#include "platform/dispatch/queue.h"
#include "wire/audio_chunk.h"

namespace quorin::wifi {

/// A chunk and the moment at which the capture handed it over.
struct TimedChunk {
  dispatch::TimePoint arrived;
  wire::AudioChunk samples;
};

}  // namespace quorin::wifi
