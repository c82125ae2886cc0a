#include "whole/whole_program.h"

#include "support/child_process.h"
#include "support/code_photo.h"
#include "support/own_network.h"
#include "support/sine_fit.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <array>
#include <cassert>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <sstream>
#include <thread>

namespace quorin::whole {

using Clock = std::chrono::steady_clock;

Phone::Phone(const std::string& address)
    : peer_(wire::Endpoint::parse(address + ":" + std::to_string(WholeProgram::kPort)).value()) {}

void Phone::turn() {
  while (auto datagram = peer_.heard()) {
    if (datagram->size() != wire::kChunkFrames * sizeof(std::int16_t)) {
      messages.push_back(*std::move(datagram));
      continue;
    }
    std::array<std::int16_t, wire::kChunkFrames> samples;
    std::memcpy(samples.data(), datagram->data(), sizeof samples);
    for (const auto sample : samples) sound.push_back(static_cast<float>(sample) / 32767.0F);
    ++chunks;
  }
}

double Phone::level(double hertz, std::size_t count) const {
  const auto samples = count * wire::kChunkFrames;
  if (sound.size() < samples) return 0;
  return test::fitSine(std::span(sound).last(samples), hertz, wire::kSampleRate).level;
}

WholeProgram::WholeProgram(app::StartMode mode) {
  app::Options options;
  options.start = mode;
  delegate_ = std::make_unique<app::PTAppDelegate>(*scheduler_, texts_, options);
  delegate_->applicationDidFinishLaunching();
}

Phone& WholeProgram::newPhone(const std::string& address) {
  return *phones.emplace_back(std::make_unique<Phone>(address));
}

bool WholeProgram::until(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
  const auto end = Clock::now() + limit;
  for (;;) {
    QApplication::processEvents();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    for (auto& phone : phones) phone->turn();
    onTurn();
    if (condition()) return true;
    if (Clock::now() >= end) return false;
  }
}

void WholeProgram::runFor(std::chrono::milliseconds duration) {
  until([] { return false; }, duration);
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
                  .threads = entriesOf("/proc/self/task"),
                  .udpSockets = 0};
  std::ifstream table("/proc/thread-self/net/udp");
  char boundTo[16];
  std::snprintf(boundTo, sizeof boundTo, " 00000000:%04X ", WholeProgram::kPort);
  for (std::string line; std::getline(table, line);) result.udpSockets += line.contains(boundTo);
  return result;
}

void PrintTo(const Holdings& held, std::ostream* stream) {
  *stream << held.descriptors << " descriptors, " << held.threads << " threads, " << held.udpSockets
          << " sockets on the port";
}

bool ip(const std::string& arguments) {
  std::vector<std::string> words{"ip"};
  std::istringstream stream(arguments);
  for (std::string word; stream >> word;) words.push_back(word);
  test::ChildProcess process({.arguments = words, .environment = {}, .output = {}});
  return process.wait() == 0;
}

void enterNetworkOrSkip() {
  // The other end of an interface's wire needs a name that no person's interface has.
  if (test::enterOwnNetwork() && ip("link add eth0 type veth peer name wall0") &&
      ip("link set wall0 up") && ip("link set eth0 up")) {
    return;
  }
  std::puts("skipped: a network of its own needs root");
  std::exit(77);  // what CTest takes for skipped
}

}  // namespace quorin::whole
