#pragma once

#include "measure/arrival_statistics.h"

#include <chrono>

namespace quorin::bench {

enum class LoopPriority { kNormal, kRealtime };

/// What this machine can do at best: the deviation from 20 ms, in ms, of a thread that does nothing
/// but sleep to absolute deadlines. Blocks for `duration`. A real-time loop that is not granted its
/// priority returns all zeros.
measure::Spread bareLoop(std::chrono::seconds duration, LoopPriority priority);

}  // namespace quorin::bench
