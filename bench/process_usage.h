#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>

namespace quorin::bench {

/// What another process costs, read from /proc; nothing once it is gone.
struct ProcessUsage {
  std::chrono::nanoseconds processor;  ///< of all its threads since their start
  double proportionalMb;               ///< its share of memory (PSS)
  double anonymousMb;                  ///< of that, what no file backs: heaps and stacks
};
std::optional<ProcessUsage> usageOf(pid_t process);

/// True when a thread of the process runs with a real-time policy.
bool hasRealtimeThread(pid_t process);

}  // namespace quorin::bench
