#include "core/version.h"
#include "platform/posix/program.h"
#include "quorin-device/lending.h"
#include "quorin-device/virtual_device.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

namespace quorin::device {
namespace {

enum ExitStatus : std::uint8_t { kDone = 0, kFailed = 1, kWrongUsage = 2, kNotRight = 3 };

constexpr std::string_view kUsage =
    R"(usage: quorin-device add [--persist | --default]
       quorin-device remove
       quorin-device lend
       quorin-device watch
       quorin-device status

Creates the virtual sound device "Quorin Audio" that quorin-stream takes the computer's sound
from: an output, and an input that carries what is played into it. Works with PulseAudio and
PipeWire, for the user who runs it; not for root, unless PULSE_SERVER names the server.

  add         create the device, until the audio server ends
  --persist   at every login as well, by a file in your own configuration folder
  --default   make it the default output and input, and remember what was before
  remove      remove the device and the file, and make default what was before
  lend        create the device, make it default and move what plays to it, until standard
              input ends; then give everything back
  watch       say where programs play and whether the device is muted, until standard input ends
  status      say what the device check of quorin-stream sees, and what it still wants
  --help      print this and exit
  --version   print the version and exit

Exit status: 0 done (status: all is right), 1 failed, 2 wrong usage, 3 status: not yet right.
)";
constexpr std::array<std::string_view, 5> kCommands{"add", "remove", "lend", "watch", "status"};

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

int wrongUsage(const std::string& sentence) {
  std::cerr << "quorin-device: " << sentence << '\n' << kUsage;
  return kWrongUsage;
}

int run(std::string_view command, const AddOptions& options) {
  // Root has no sound of its own. A server that is named is one that is meant.
  if (::geteuid() == 0 && environment("PULSE_SERVER").empty()) {
    return fail(
        {"Sound belongs to the user who is logged in: run this as that user, or name the "
         "server in PULSE_SERVER."});
  }
  const auto say = [](const std::string& line) { std::cout << line << std::endl; };
  if (command == "lend") return serve(Duty::kLend, places(), say) ? kDone : kFailed;
  if (command == "watch") return serve(Duty::kWatch, places(), say) ? kDone : kFailed;
  if (command == "remove") {
    // Before the server is asked: without one, too, nothing may stay behind.
    const auto unpersisted = unpersist(places().config);
    if (!unpersisted) return fail(unpersisted.error());
    if (*unpersisted) say("The device is no longer created at login.");
  }
  const auto client = PulseClient::connect();
  if (!client) return fail(client.error());
  if (command == "status") {
    const auto right = status(**client, places(), say);
    if (!right) return fail(right.error());
    return *right ? kDone : kNotRight;
  }
  const auto done =
      command == "add" ? add(**client, places(), options, say) : remove(**client, places(), say);
  return done ? kDone : fail(done.error());
}

int main(const std::vector<std::string_view>& words) {
  AddOptions options;
  std::string_view command;
  for (const std::string_view word : words) {
    if (word == "--help" || word == "-h") {
      std::cout << kUsage;
      return kDone;
    }
    if (word == "--version") {
      std::cout << "quorin-device " << version() << '\n';
      return kDone;
    }
    if (word == "--persist") {
      options.persist = true;
    } else if (word == "--default") {
      options.makeDefault = true;
    } else if (command.empty() && std::ranges::count(kCommands, word) > 0) {
      command = word;
    } else {
      return wrongUsage("'" + std::string(word) + "' is no option, or one command too many.");
    }
  }
  if (command.empty()) return wrongUsage("A command is missing.");
  if (command != "add" && (options.persist || options.makeDefault)) {
    return wrongUsage("--persist and --default go with add only; remove undoes both.");
  }
  if (options.persist && options.makeDefault) {
    return wrongUsage(
        "--persist and --default do not go together: from the next login on the loudspeakers would "
        "be silent, and every call would send this desktop's sound. Run quorin-device add "
        "--persist, and make the device default when you stream (quorin-stream --set-up).");
  }
  return run(command, options);
}

}  // namespace
}  // namespace quorin::device

int main(int argc, char** argv) {
  return quorin::posix::runProgram("quorin-device", argc, argv, [](int count, char** words) {
    return quorin::device::main(std::vector<std::string_view>(words + 1, words + count));
  });
}
