#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace quorin::test {

/// A program that runs beside the test and never outlives it: killed with this object, and by the
/// kernel should the test itself be killed.
class ChildProcess {
 public:
  struct Command {
    std::vector<std::string> arguments;    ///< the program first, looked up in PATH
    std::vector<std::string> environment;  ///< "NAME=value", added to the test's own
    std::filesystem::path output;          ///< where both its outputs go; empty: nowhere
  };

  ChildProcess() = default;
  explicit ChildProcess(const Command& command);
  ~ChildProcess() { kill(); }
  ChildProcess(ChildProcess&& other) noexcept { *this = std::move(other); }
  ChildProcess& operator=(ChildProcess&& other) noexcept;

  pid_t pid() const { return pid_; }
  bool isRunning();

  /// SIGKILL, and waits for the end.
  void kill();

  /// Waits for its own end, if that has not come yet, at most 10 s, then kills it; the exit
  /// status, or -1.
  int wait();

 private:
  pid_t pid_ = -1;
  int exitStatus_ = -1;
};

/// The folder of the programs that were built with this test.
std::string builtPrograms();

/// True when the program is installed.
bool hasProgram(const std::string& name);

}  // namespace quorin::test
