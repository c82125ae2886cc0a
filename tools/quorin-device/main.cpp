#include "audio/device_guard.h"
#include "core/version.h"
#include "platform/posix/program.h"
#include "quorin-device/lending.h"
#include "quorin-device/login_file.h"

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

  add         create the device, until the sound server ends
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

ConfigFolders configFolders() {
  return {.pulse = pulseFolder(),
          .systemPulse = "/etc/pulse",
          .pipeWire = folder("XDG_CONFIG_HOME", ".config") / "pipewire"};
}

constexpr const char* kBeforeAdd = "defaults";  ///< the default devices before `add --default`
constexpr const char* kBeforeLoan = "lent";     ///< the same of a loan; stays if it was killed

std::filesystem::path stateFile(const char* name) {
  return folder("XDG_STATE_HOME", ".local/state") / "quorin-device" / name;
}

Defaults remembered() {
  const auto former = readDefaults(stateFile(kBeforeAdd));
  return former != Defaults() ? former : readDefaults(stateFile(kBeforeLoan));
}

void say(const std::string& line) {
  std::cout << line << '\n';
}

void add(bool toPersist, bool toMakeDefault) {
  PulseClient client;
  // Creating the device may make it default where there is no other: look before.
  const Snapshot before = client.look();
  if (const int lender = lenderOf(before); lender != 0) {
    if (isAlive(lender)) {
      throw Error(
          "quorin-stream has created the device and removes it when it quits. Quit quorin-stream "
          "first, then add the device.");
    }
    removeDevice(client);  // of a lender that was killed: the next one would take it over
  }
  if (toMakeDefault && !writeDefaults(stateFile(kBeforeAdd), toRemember(before, remembered()))) {
    throw Error("The default devices cannot be remembered in " + stateFile(kBeforeAdd).string() +
                ". Look at its permissions, or leave --default out.");
  }
  createDevice(client);
  say(findDevice(before).isWhole()
          ? "The device \"Quorin Audio\" is there already."
          : "The device \"Quorin Audio\" is there now, as output and as input.");
  if (toPersist) {
    const auto path = persist(before.isPipeWire(), configFolders());
    say("It will be created at every login, by " + path.string() + ".");
  }
  if (!toMakeDefault) return;
  makeDefault(client);
  say("It is the default output and input now. You hear nothing yourself meanwhile; \"remove\" "
      "restores what was default before.");
}

void remove() {
  // Before the server is asked: without one, too, nothing may stay behind.
  if (unpersist(configFolders())) say("The device is no longer created at login.");
  PulseClient client;
  // While the device is there, so that what plays moves without a gap.
  for (const auto& line : restoreDefaults(client, remembered())) say(line);
  say(removeDevice(client) ? "The device \"Quorin Audio\" is gone."
                           : "There is no device \"Quorin Audio\" of this program's.");
  forgetDefaults(stateFile(kBeforeLoan));
  forgetDefaults(stateFile(kBeforeAdd));
}

audio::Device deviceNamed(const std::vector<Endpoint>& endpoints, const std::string& name) {
  const Endpoint* const endpoint = find(endpoints, name);
  if (endpoint == nullptr) return {};
  return {.number = endpoint->index + 1, .name = endpoint->description, .format = {}};
}

/// Whether the device check of quorin-stream would pass.
bool status() {
  const Snapshot now = PulseClient().look();
  const DevicePair device = findDevice(now);
  const auto output = deviceNamed(now.sinks, now.defaultSink);
  const auto input = deviceNamed(now.sources, now.defaultSource);
  const auto routing = audio::routingOf({.output = output, .input = input});
  const auto rightness = [](bool right) { return right ? "  (right)" : "  (not right)"; };

  say("Sound server:    " + now.server);
  say(std::string("Virtual device:  ") +
      (device.isWhole()         ? "there, as output and as input"
       : device.sink != nullptr ? "there, as output only (add makes the input)"
                                : "not there") +
      (isPersistent(configFolders()) ? ", created at every login" : ", not created at login"));
  say("Default output:  " + audio::currentDeviceName(output) + rightness(routing.outOK));
  say("Default input:   " + audio::currentDeviceName(input) + rightness(routing.inOK));
  if (soundLine(now) == "muted") {
    say("Note: \"Quorin Audio\" is muted, so that nothing can be heard.");
  }
  if (routing.inOK) {
    say("Warning: a call takes the default input, and would send what this desktop plays. Choose "
        "the microphone in the program that calls, or put the default input back when you do not "
        "stream.");
  }
  if (routing.isRight()) {
    say("quorin-stream can start: both names contain \"Quorin Audio\".");
    return true;
  }
  say(std::string("quorin-stream waits: the default ") +
      (routing.outOK  ? "input is"
       : routing.inOK ? "output is"
                      : "output and input are") +
      " not \"Quorin Audio\". Its button \"Set up for me\" puts that right, or: quorin-device add "
      "--default");
  return false;
}

int wrongUsage(const std::string& sentence) {
  std::cerr << "quorin-device: " << sentence << " Try quorin-device --help.\n";
  return kWrongUsage;
}

int run(std::string_view command, bool toPersist, bool toMakeDefault) {
  // Root has no sound of its own. A server that is named is one that is meant.
  if (::geteuid() == 0 && environment("PULSE_SERVER").empty()) {
    throw Error(
        "Sound belongs to the user who is logged in: run this as that user, or name the server in "
        "PULSE_SERVER.");
  }
  if (command == "lend") return serve(Duty::kLend, stateFile(kBeforeLoan)) ? kDone : kFailed;
  if (command == "watch") return serve(Duty::kWatch, stateFile(kBeforeLoan)) ? kDone : kFailed;
  if (command == "status") return status() ? kDone : kNotRight;
  command == "add" ? add(toPersist, toMakeDefault) : remove();
  return kDone;
}

int main(const std::vector<std::string_view>& words) {
  bool toPersist = false;
  bool toMakeDefault = false;
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
      toPersist = true;
    } else if (word == "--default") {
      toMakeDefault = true;
    } else if (command.empty() && std::ranges::count(kCommands, word) > 0) {
      command = word;
    } else {
      return wrongUsage("'" + std::string(word) + "' is no option, or one command too many.");
    }
  }
  if (command.empty()) return wrongUsage("A command is missing.");
  if (command != "add" && (toPersist || toMakeDefault)) {
    return wrongUsage("--persist and --default go with add only; remove undoes both.");
  }
  if (toPersist && toMakeDefault) {
    return wrongUsage(
        "--persist and --default do not go together: from the next login on the loudspeakers would "
        "be silent, and every call would send this desktop's sound. Run quorin-device add "
        "--persist, and make the device default when you stream (quorin-stream --set-up).");
  }
  try {
    return run(command, toPersist, toMakeDefault);
  } catch (const Error& error) {
    std::cerr << "quorin-device: " << error.what() << '\n';
    return kFailed;
  }
}

}  // namespace
}  // namespace quorin::device

int main(int argc, char** argv) {
  return quorin::posix::runProgram("quorin-device", argc, argv, [](int count, char** words) {
    return quorin::device::main(std::vector<std::string_view>(words + 1, words + count));
  });
}
