#include "whole/whole_program.h"

#include "support/code_photo.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <cassert>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace quorin::whole {

WholeProgram::WholeProgram(app::StartMode mode) {
  app::Options options;
  options.start = mode;
  delegate_ = std::make_unique<app::PTAppDelegate>(*scheduler_, texts_, options);
  delegate_->applicationDidFinishLaunching();
}

QWidget& WholeProgram::view(const char* name) const {
  auto* widget = delegate_->window().findChild<QWidget*>(QString::fromLatin1(name));
  assert(widget != nullptr);
  return *widget;
}

bool WholeProgram::shows(const char* name) const {
  return view(name).isVisible();
}

std::string WholeProgram::text(const char* label) const {
  return dynamic_cast<QLabel&>(view(label)).text().toStdString();
}

std::string WholeProgram::accessibleName(const char* name) const {
  return view(name).accessibleName().toStdString();
}

void WholeProgram::click(const char* button) const {
  dynamic_cast<QAbstractButton&>(view(button)).click();
}

std::vector<std::string> WholeProgram::codes() {
  return quorin::test::codesOn(delegate_->window());
}

Holdings holdings() {
  const auto entriesOf = [](const char* folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
  };
  Holdings result{.descriptors = entriesOf("/proc/self/fd"),
                  .threads = entriesOf("/proc/self/task")};
  std::ifstream table("/proc/thread-self/net/udp");
  char port[8];
  std::snprintf(port, sizeof port, ":%04X", Phone::kServerPort);
  std::string slot, local;
  for (std::string line; std::getline(table, line);) {
    std::istringstream(line) >> slot >> local;
    if (!local.ends_with(port)) continue;
    ++(local.starts_with("00000000") ? result.udpSockets : result.clientSockets);
  }
  return result;
}

void enterNetworkOrSkip() {
  // The other end of an interface's wire needs a name that no person's interface has.
  if (test::enterOwnNetwork() && std::system("ip link add eth0 type veth peer name wall0") == 0) {
    ip("link set wall0 up");
    ip("link set eth0 up");
    return;
  }
  std::puts("skipped: a network of its own needs root");
  std::exit(77);  // what CTest takes for skipped
}

}  // namespace quorin::whole
