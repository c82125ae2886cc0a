#pragma once

#include "core/queue.h"

#include <sys/types.h>

#include <string_view>

namespace quorin::dispatch {

enum class RealtimeGrant { kNone, kDirect, kRtkit };

std::string_view describe(RealtimeGrant grant);

/// Requests real-time scheduling (SCHED_FIFO, reset on fork) for the calling thread: from the
/// kernel, or without that privilege from rtkit, later, on `backgroundQueue`, which outlives the
/// thread. Has no effect if neither grants it.
///
/// An overrun does not kill the program: when a real-time thread runs for 100 ms without blocking,
/// all of them return to normal priority, with a line on standard error.
void requestRealtime(Queue& backgroundQueue);

/// What a thread of this process would get, tested on a temporary thread. May wait 2 s for rtkit.
RealtimeGrant tryRealtime();

}  // namespace quorin::dispatch
