#pragma once

#include <sys/types.h>

#include <string_view>

namespace quorin::dispatch {

enum class RealtimeGrant { kNone, kDirect, kRtkit };

std::string_view describe(RealtimeGrant grant);

/// Asks for real-time scheduling (SCHED_FIFO, reset on fork) of the calling thread from the
/// kernel itself; false where the process has no right to it. Limits the processor time that this
/// process's real-time threads may take without a wait to 200 ms.
bool takeRealtime();

/// Asks rtkit on the system's D-Bus for real-time scheduling of `thread` of this process, with the
/// same limit, which it demands. May wait for rtkit to start; false when there
/// is none or it refuses. Not on the thread itself, which would be late meanwhile.
bool takeRealtimeThroughRtkit(pid_t thread);

/// What a thread of this process would get, tried out on one that ends with the call. May wait for
/// rtkit.
RealtimeGrant tryRealtime();

}  // namespace quorin::dispatch
