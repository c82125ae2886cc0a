#pragma once

#include "measure/arrival_statistics.h"

#include <chrono>
#include <functional>

namespace quorin::bench {

enum class LoopPriority { kNormal, kRealtime };

/// Sleeps to absolute deadlines 20 ms apart, while `woke`, which gets the time of
/// each wake-up, returns true. False where a real-time loop is not granted its priority. On the
/// calling thread, which keeps the priority.
bool runBareLoop(LoopPriority priority, const std::function<bool(std::chrono::nanoseconds)>& woke);

/// What this machine can do at best: the deviation from 20 ms, in ms, of a thread that does nothing
/// but sleep to absolute deadlines. Blocks for `duration`. A real-time loop that is not granted its
/// priority returns all zeros.
measure::Spread bareLoop(std::chrono::seconds duration, LoopPriority priority);

}  // namespace quorin::bench
