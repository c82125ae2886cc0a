#include "quorin-device/arguments.h"

#include <optional>

namespace quorin::device {
namespace {

std::optional<Verb> verbNamed(std::string_view word) {
  if (word == "add") return Verb::kAdd;
  if (word == "remove") return Verb::kRemove;
  if (word == "lend") return Verb::kLend;
  if (word == "watch") return Verb::kWatch;
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
  if (!verb) return std::unexpected("A command is missing: add, remove, lend, watch or status.");
  if (*verb != Verb::kAdd && (arguments.persist || arguments.makeDefault)) {
    return std::unexpected("--persist and --default go with add only; remove undoes both.");
  }
  if (arguments.persist && arguments.makeDefault) {
    return std::unexpected(
        "--persist and --default do not go together: from the next login on the loudspeakers would "
        "be silent, and every call would send this desktop's sound. Run quorin-device add "
        "--persist, and make the device default when you stream (quorin-stream --set-up).");
  }
  arguments.verb = *verb;
  return arguments;
}

std::string_view usage() {
  return R"(usage: quorin-device add [--persist | --default]
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
}

}  // namespace quorin::device
