#include "quorin-device/virtual_device.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fstream>
#include <ranges>

namespace quorin::device {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

/// Servers answer before every client knows of what they did.
constexpr auto kTimeout = 3s;

}  // namespace

void createDevice(PulseClient& client, int lender) {
  const auto load = [&client](const Module& module) {
    if (!client.load(module)) throw client.refusal("create the device");
  };
  if (findDevice(client.look()).sink == nullptr) {
    load(sinkModule(lender));
    client.waitUntil([](const Snapshot& now) { return findDevice(now).sink != nullptr; }, kTimeout);
  }
  const auto isThere = [](const Snapshot& now) { return findDevice(now).isWhole(); };
  if (isThere(client.look())) return;
  load(sourceModule());
  if (client.waitUntil(isThere, kTimeout)) return;
  throw Error(
      "The sound server says that it created the device \"Quorin Audio\", but does not show it. "
      "Restart the sound server and try again.");
}

bool isAlive(int lender) {
  return ::kill(lender, 0) == 0 || errno != ESRCH;
}

bool removeDevice(PulseClient& client) {
  bool any = false;
  // The source before the sink that it records.
  for (const Module& module : client.look().modules | std::views::reverse) {
    if (!isOurs(module)) continue;
    any = true;
    client.unload(module.index);
  }
  const auto isGone = [](const Snapshot& now) {
    return std::ranges::none_of(now.modules, isOurs) && find(now.sinks, kSinkName) == nullptr;
  };
  if (any && !client.waitUntil(isGone, kTimeout)) {
    throw Error("The sound server still shows the device. Restart the sound server.");
  }
  return any;
}

void makeDefault(PulseClient& client, const Holds& which) {
  const Snapshot now = client.look();
  const DevicePair device = findDevice(now);
  if (!device.isWhole()) throw Error("The device \"Quorin Audio\" has vanished. Try again.");
  const auto isDefault = [&](const Snapshot& later) {
    return (!which.output || later.defaultSink == device.sink->name) &&
           (!which.input || later.defaultSource == device.source->name);
  };
  if ((which.output && !client.makeDefault(*device.sink)) ||
      (which.input && !client.makeDefault(*device.source))) {
    throw client.refusal("make the device default");
  }
  if (client.waitUntil(isDefault, kTimeout)) return;
  throw Error(
      "The sound server did not make \"Quorin Audio\" the default. Choose it in the sound "
      "settings, as output and as input.");
}

std::vector<std::string> restoreDefaults(PulseClient& client, const Defaults& former) {
  const Snapshot now = client.look();
  const Holds holds = holdsDefaults(now);
  std::vector<std::string> sentences;
  const auto restore = [&](bool held, const std::vector<Endpoint>& endpoints,
                           const std::string& name, const std::string& what) {
    if (!held || name.empty()) return;
    const Endpoint* const endpoint = find(endpoints, name);
    sentences.push_back(endpoint != nullptr && client.makeDefault(*endpoint)
                            ? "The default " + what + " is " + name + " again."
                            : "The former default " + what + " " + name +
                                  " is not there at present; the sound server chooses another "
                                  "one.");
  };
  restore(holds.output, now.sinks, former.output, "output");
  restore(holds.input, now.sources, former.input, "input");
  return sentences;
}

Defaults readDefaults(const fs::path& file) {
  Defaults defaults;
  std::ifstream lines(file);
  std::getline(lines, defaults.output);
  std::getline(lines, defaults.input);
  return defaults;
}

bool writeDefaults(const fs::path& file, const Defaults& defaults) {
  std::error_code ignored;
  fs::create_directories(file.parent_path(), ignored);
  std::ofstream lines(file, std::ios::trunc);
  lines << defaults.output << '\n' << defaults.input << '\n';
  lines.close();
  return static_cast<bool>(lines);
}

void forgetDefaults(const fs::path& file) {
  std::error_code ignored;
  fs::remove(file, ignored);
  fs::remove(file.parent_path(), ignored);  // ours; stays while there is something else in it
}

}  // namespace quorin::device
