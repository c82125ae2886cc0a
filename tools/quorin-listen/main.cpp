#include "core/version.h"
#include "platform/posix/program.h"
#include "quorin-listen/listener.h"
#include "quorin-listen/options.h"

#include <iostream>
#include <span>
#include <string_view>
#include <vector>

namespace {

int launch(int argc, char** argv) {
  using quorin::listen::Options;
  const std::vector<std::string_view> arguments(argv + 1, argv + argc);
  const auto options = quorin::listen::parseOptions(arguments);
  if (!options) {
    std::cerr << "quorin-listen: " << options.error() << " See quorin-listen --help.\n";
    return quorin::listen::kWrongUsage;
  }
  switch (options->task) {
    case Options::Task::kHelp:
      std::cout << quorin::listen::usage();
      return quorin::listen::kListened;
    case Options::Task::kVersion:
      std::cout << "quorin-listen " << quorin::version() << '\n';
      return quorin::listen::kListened;
    case Options::Task::kListen:
      return quorin::listen::listen(*options);
  }
  return quorin::listen::kFailed;
}

}  // namespace

int main(int argc, char** argv) {
  return quorin::posix::runProgram("quorin-listen", argc, argv, launch);
}
