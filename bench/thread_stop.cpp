#include "bench/thread_stop.h"

#include <sys/ptrace.h>
#include <sys/wait.h>

#include <thread>

namespace quorin::bench {

bool stopThread(pid_t thread, std::chrono::milliseconds duration) {
  if (::ptrace(PTRACE_SEIZE, thread, nullptr, nullptr) != 0) return false;
  int status = 0;
  const bool stopped = ::ptrace(PTRACE_INTERRUPT, thread, nullptr, nullptr) == 0 &&
                       ::waitpid(thread, &status, __WALL) == thread;
  if (stopped) std::this_thread::sleep_for(duration);
  ::ptrace(PTRACE_DETACH, thread, nullptr, nullptr);
  return stopped;
}

}  // namespace quorin::bench
