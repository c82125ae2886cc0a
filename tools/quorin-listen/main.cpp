#include "platform/posix/program.h"
#include "quorin-listen/listener.h"

#include <QCoreApplication>
#include <iostream>

namespace quorin::listen {
namespace {

ExitCode run(const QStringList& arguments) {
  const auto options = parseOptions(arguments);
  if (!options) {
    std::cerr << "quorin-listen: " << options.error() << " Try quorin-listen --help.\n";
    return kWrongUsage;
  }
  if (options->answer.empty()) return listen(*options);
  std::cout << options->answer;
  return kListened;
}

int launch(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  const auto code = run(QCoreApplication::arguments());
  if (std::cout.flush() || code != kListened) return code;
  std::cerr << "quorin-listen: Cannot write to standard output: is the disk full?\n";
  return kFailed;
}

}  // namespace
}  // namespace quorin::listen

int main(int argc, char** argv) {
  return quorin::posix::runProgram("quorin-listen", argc, argv, quorin::listen::launch);
}
