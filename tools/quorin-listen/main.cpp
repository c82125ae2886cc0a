#include "core/version.h"
#include "platform/posix/program.h"
#include "quorin-listen/listener.h"
#include "quorin-listen/options.h"

#include <iostream>
#include <span>
#include <string_view>
#include <vector>

namespace {

using namespace quorin::listen;

ExitCode run(std::span<const std::string_view> arguments) {
  const auto options = parseOptions(arguments);
  if (!options) {
    std::cerr << "quorin-listen: " << options.error() << " See quorin-listen --help.\n";
    return kWrongUsage;
  }
  switch (options->task) {
    case Options::Task::kHelp:
      std::cout << usage();
      return kListened;
    case Options::Task::kVersion:
      std::cout << "quorin-listen " << quorin::version() << '\n';
      return kListened;
    case Options::Task::kListen:
      return listen(*options);
  }
  return kFailed;
}

int launch(int argc, char** argv) {
  const auto code = run(std::vector<std::string_view>(argv + 1, argv + argc));
  if (std::cout.flush() || code != kListened) return code;
  std::cerr << "quorin-listen: Cannot write to standard output: is the disk full?\n";
  return kFailed;
}

}  // namespace

int main(int argc, char** argv) {
  return quorin::posix::runProgram("quorin-listen", argc, argv, launch);
}
