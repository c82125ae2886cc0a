#pragma once

#include <sys/types.h>

#include <chrono>

namespace quorin::bench {

/// Stops one thread of another process for a while, as if it were busy; its other threads go on.
/// A process is named by its main thread. False when the system does not allow it.
bool stopThread(pid_t thread, std::chrono::milliseconds duration);

}  // namespace quorin::bench
