#include "bench/process_usage.h"

#include <sched.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace quorin::bench {
namespace {

std::string folderOf(pid_t process) {
  return "/proc/" + std::to_string(process) + "/";
}

std::optional<std::chrono::nanoseconds> processorTime(pid_t process) {
  std::string line;
  std::getline(std::ifstream(folderOf(process) + "stat"), line);
  // The name stands in brackets and may hold anything; the fields are counted behind it.
  const auto end = line.rfind(')');
  if (end == std::string::npos) return std::nullopt;
  std::istringstream fields(line.substr(end + 1));
  std::string skipped;
  for (int field = 3; field < 14; ++field) fields >> skipped;
  long user = 0;
  long system = 0;
  if (!(fields >> user >> system)) return std::nullopt;
  return std::chrono::nanoseconds(1'000'000'000 / ::sysconf(_SC_CLK_TCK) * (user + system));
}

std::optional<double> proportionalMb(pid_t process) {
  std::ifstream rollup(folderOf(process) + "smaps_rollup");
  for (std::string word; rollup >> word;) {
    double kilobytes = 0;
    if (word == "Pss:" && rollup >> kilobytes) return kilobytes / 1024;
  }
  return std::nullopt;
}

}  // namespace

std::optional<ProcessUsage> usageOf(pid_t process) {
  const auto processor = processorTime(process);
  const auto memory = proportionalMb(process);
  if (!processor || !memory) return std::nullopt;
  return ProcessUsage{.processor = *processor, .proportionalMb = *memory};
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
