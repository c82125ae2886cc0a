#include "bench/process_usage.h"

#include <sched.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace quorin::bench {
namespace {

std::string folderOf(pid_t process) {
  return "/proc/" + std::to_string(process) + "/";
}

/// By the scheduler's own account: that of the ticks overcounts who always wakes with a tick.
std::optional<std::chrono::nanoseconds> processorTime(pid_t process) {
  std::chrono::nanoseconds sum{0};
  std::error_code gone;
  for (const auto& thread : std::filesystem::directory_iterator(folderOf(process) + "task", gone)) {
    std::int64_t nanoseconds = 0;
    std::ifstream(thread.path() / "schedstat") >> nanoseconds;
    sum += std::chrono::nanoseconds(nanoseconds);
  }
  if (gone) return std::nullopt;
  return sum;
}

struct Memory {
  double proportionalMb = 0;
  double anonymousMb = 0;
};

std::optional<Memory> memory(pid_t process) {
  Memory result;
  std::ifstream rollup(folderOf(process) + "smaps_rollup");
  for (std::string word; rollup >> word;) {
    double kilobytes = 0;
    if (word == "Pss:" && rollup >> kilobytes) result.proportionalMb = kilobytes / 1024;
    if (word == "Pss_Anon:" && rollup >> kilobytes) result.anonymousMb = kilobytes / 1024;
  }
  if (result.proportionalMb == 0) return std::nullopt;
  return result;
}

}  // namespace

std::optional<ProcessUsage> usageOf(pid_t process) {
  const auto processor = processorTime(process);
  const auto held = memory(process);
  if (!processor || !held) return std::nullopt;
  return ProcessUsage{.processor = *processor,
                      .proportionalMb = held->proportionalMb,
                      .anonymousMb = held->anonymousMb};
}

bool hasRealtimeThread(pid_t process) {
  std::error_code gone;
  for (const auto& task : std::filesystem::directory_iterator(folderOf(process) + "task", gone)) {
    const auto policy =
        ::sched_getscheduler(std::stoi(task.path().filename())) & ~SCHED_RESET_ON_FORK;
    if (policy == SCHED_FIFO || policy == SCHED_RR) return true;
  }
  return false;
}

}  // namespace quorin::bench
