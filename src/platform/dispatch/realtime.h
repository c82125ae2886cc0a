#pragma once

#include "core/queue.h"

#include <sys/types.h>

#include <string_view>

namespace quorin::dispatch {

enum class RealtimeGrant { kNone, kDirect, kRtkit };

std::string_view describe(RealtimeGrant grant);

/// Asks for real-time scheduling (SCHED_FIFO, reset on fork) of the calling thread: the kernel
/// itself, or where the process has no right to it rtkit, a little later on `backgroundQueue`,
/// which outlives the thread. Goes on without where neither grants it.
///
/// Real time never ends the program: a real-time thread that runs for 100 ms without a wait takes
/// all of them back to ordinary priority, with a line on standard error.
void requestRealtime(Queue& backgroundQueue);

/// What a thread of this process would get, tried out on one that ends with the call. May wait 2 s
/// for rtkit.
RealtimeGrant tryRealtime();

}  // namespace quorin::dispatch
