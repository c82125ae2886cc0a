#include "core/version.h"
#include "platform/posix/program.h"
#include "quorin-device/arguments.h"
#include "quorin-device/lending.h"
#include "quorin-device/pulse_client.h"
#include "quorin-device/virtual_device.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

namespace quorin::device {
namespace {

enum ExitStatus : std::uint8_t { kDone = 0, kFailed = 1, kWrongUsage = 2, kNotRight = 3 };

std::string environment(const char* name) {
  const char* const value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): one thread
  return value != nullptr ? value : "";
}

/// $`variable`, or the folder that stands for it under the user's home.
std::filesystem::path folder(const char* variable, const char* underHome) {
  const std::filesystem::path given = environment(variable);
  return given.is_absolute() ? given : environment("HOME") / std::filesystem::path(underHome);
}

/// PulseAudio knows an older folder too, and takes no notice of XDG_CONFIG_HOME.
std::filesystem::path pulseFolder() {
  const std::filesystem::path home = environment("HOME");
  const auto older = home / ".pulse";
  std::error_code unreadable;
  return std::filesystem::exists(older / "default.pa", unreadable) ? older : home / ".config/pulse";
}

Places places() {
  return {.config = {.pulse = pulseFolder(),
                     .systemPulse = "/etc/pulse",
                     .pipeWire = folder("XDG_CONFIG_HOME", ".config") / "pipewire"},
          .formerDefaults = folder("XDG_STATE_HOME", ".local/state") / "quorin-device/defaults"};
}

int fail(const Error& error) {
  std::cerr << "quorin-device: " << error.text << '\n';
  return kFailed;
}

int run(const Arguments& arguments) {
  // Root has no sound of its own. A server that is named is one that is meant.
  if (::geteuid() == 0 && environment("PULSE_SERVER").empty()) {
    return fail(
        {"Sound belongs to the user who is logged in: run this as that user, or name the "
         "server in PULSE_SERVER."});
  }
  const auto say = [](const std::string& line) { std::cout << line << std::endl; };
  if (arguments.verb == Verb::kLend) return serve(Duty::kLend, places(), say) ? kDone : kFailed;
  if (arguments.verb == Verb::kWatch) return serve(Duty::kWatch, places(), say) ? kDone : kFailed;
  if (arguments.verb == Verb::kRemove) {
    // Before the server is asked: without one, too, nothing may stay behind.
    const auto unpersisted = unpersist(places().config);
    if (!unpersisted) return fail(unpersisted.error());
    if (*unpersisted) say("The device is no longer created at login.");
  }
  auto client = PulseClient::connect();
  if (!client) return fail(client.error());
  if (arguments.verb == Verb::kStatus) {
    const auto right = status(*client, places(), say);
    if (!right) return fail(right.error());
    return *right ? kDone : kNotRight;
  }
  const auto done = arguments.verb == Verb::kAdd ? add(*client, places(), arguments, say)
                                                 : remove(*client, places(), say);
  return done ? kDone : fail(done.error());
}

int main(const std::vector<std::string_view>& words) {
  const auto arguments = parseArguments(words);
  if (!arguments) {
    std::cerr << "quorin-device: " << arguments.error() << '\n' << usage();
    return kWrongUsage;
  }
  switch (arguments->verb) {
    case Verb::kHelp:
      std::cout << usage();
      return kDone;
    case Verb::kVersion:
      std::cout << "quorin-device " << version() << '\n';
      return kDone;
    default:
      return run(*arguments);
  }
}

}  // namespace
}  // namespace quorin::device

int main(int argc, char** argv) {
  return quorin::posix::runProgram("quorin-device", argc, argv, [](int count, char** words) {
    return quorin::device::main(std::vector<std::string_view>(words + 1, words + count));
  });
}
