#include "support/child_process.h"

#include "support/eventually.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <utility>

namespace quorin::test {

ChildProcess::ChildProcess(const Command& command) {
  const auto pointersTo = [](std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (auto& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
  };
  auto arguments = command.arguments;
  auto argv = pointersTo(arguments);
  std::vector<std::string> environment = command.environment;
  for (char** entry = environ; *entry != nullptr; ++entry) environment.emplace_back(*entry);
  auto envp = pointersTo(environment);  // of two with one name, the first counts
  const std::string output = command.output.empty() ? "/dev/null" : command.output.string();

  pid_ = ::fork();
  if (pid_ != 0) return;
  // Only what is safe between fork and exec in a program with threads.
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  const int log = ::open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  ::dup2(log, STDOUT_FILENO);
  ::dup2(log, STDERR_FILENO);
  ::execvpe(argv[0], argv.data(), envp.data());
  ::_exit(127);
}

ChildProcess& ChildProcess::operator=(ChildProcess&& other) noexcept {
  std::swap(pid_, other.pid_);
  std::swap(exitStatus_, other.exitStatus_);
  return *this;
}

bool ChildProcess::isRunning() {
  int status = 0;
  if (pid_ > 0 && ::waitpid(pid_, &status, WNOHANG) == pid_) {
    pid_ = -1;
    exitStatus_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  return pid_ > 0;
}

void ChildProcess::kill() {
  if (pid_ <= 0) return;
  ::kill(pid_, SIGKILL);
  ::waitpid(pid_, nullptr, 0);
  pid_ = -1;
}

int ChildProcess::wait() {
  if (!eventually([this] { return !isRunning(); })) kill();
  return exitStatus_;
}

std::string builtPrograms() {
  const auto self = std::filesystem::read_symlink("/proc/self/exe");
  return (self.parent_path().parent_path().parent_path() / "bin").string();
}

bool hasProgram(const std::string& name) {
  const std::string look = "command -v " + name;
  return ChildProcess({.arguments = {"sh", "-c", look}, .environment = {}, .output = {}}).wait() ==
         0;
}

}  // namespace quorin::test
