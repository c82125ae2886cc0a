#include "quorin-device/arguments.h"

#include <optional>

namespace quorin::device {
namespace {

std::optional<Verb> verbNamed(std::string_view word) {
  if (word == "add") return Verb::kAdd;
  if (word == "remove") return Verb::kRemove;
  if (word == "status") return Verb::kStatus;
  return std::nullopt;
}

}  // namespace

std::expected<Arguments, std::string> parseArguments(std::span<const std::string_view> words) {
  Arguments arguments;
  std::optional<Verb> verb;
  for (const std::string_view word : words) {
    if (word == "--help" || word == "-h") return Arguments{.verb = Verb::kHelp};
    if (word == "--version") return Arguments{.verb = Verb::kVersion};
    if (word == "--persist") {
      arguments.persist = true;
    } else if (word == "--default") {
      arguments.makeDefault = true;
    } else if (word.starts_with('-')) {
      return std::unexpected("There is no option '" + std::string(word) + "'.");
    } else if (verb) {
      return std::unexpected("One command at a time: '" + std::string(word) + "' is too much.");
    } else if (verb = verbNamed(word); !verb) {
      return std::unexpected("There is no command '" + std::string(word) + "'.");
    }
  }
  if (!verb) return std::unexpected("A command is missing: add, remove or status.");
  if (*verb != Verb::kAdd && (arguments.persist || arguments.makeDefault)) {
    return std::unexpected("--persist and --default go with add only; remove undoes both.");
  }
  arguments.verb = *verb;
  return arguments;
}

std::string_view usage() {
  return R"(usage: quorin-device add [--persist] [--default]
       quorin-device remove
       quorin-device status

Creates the virtual sound device "Quorin Audio" that quorin-stream takes the computer's sound
from. Works with PulseAudio and PipeWire, for the person who runs it; not for
root, unless PULSE_SERVER names the server.

  add         create the device, until the audio server ends
  --persist   at every login as well, by a file in your own configuration folder
  --default   make it the default output and input, and remember what was before
  remove      remove the device and the file, and make default what was before
  status      say what the device check of quorin-stream sees, and what it still wants
  --help      print this and exit
  --version   print the version and exit

Exit status: 0 done (status: all is right), 1 failed, 2 wrong usage, 3 status: not yet right.
)";
}

}  // namespace quorin::device
