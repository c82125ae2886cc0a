#include "quorin-listen/options.h"

#include <charconv>
#include <cmath>

namespace quorin::listen {
namespace {

std::optional<std::chrono::milliseconds> parseSeconds(std::string_view text) {
  double seconds = 0;
  const auto* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, seconds);
  constexpr double kYear = 365.0 * 24 * 3600;
  if (error != std::errc{} || rest != end || !(seconds > 0) || seconds > kYear) return std::nullopt;
  return std::chrono::milliseconds(std::llround(seconds * 1000));
}

std::optional<std::uint16_t> parsePort(std::string_view text) {
  std::uint16_t port = 0;
  const auto* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, port);
  if (error != std::errc{} || rest != end || port == 0) return std::nullopt;
  return port;
}

std::string quoted(std::string_view text) {
  return "\"" + std::string(text) + "\"";
}

/// The arguments not read yet.
class Arguments {
 public:
  explicit Arguments(std::span<const std::string_view> all) : rest_(all) {}

  bool atEnd() const { return rest_.empty(); }
  std::string_view next() {
    const auto first = rest_.front();
    rest_ = rest_.subspan(1);
    return first;
  }

 private:
  std::span<const std::string_view> rest_;
};

std::optional<std::string>* fileOption(Options& options, std::string_view name) {
  if (name == "--wav") return &options.wav;
  if (name == "--arrivals") return &options.arrivals;
  if (name == "--sink") return &options.sink;
  return nullptr;
}

}  // namespace

std::expected<Options, std::string> parseOptions(std::span<const std::string_view> all) {
  Options options;
  Arguments arguments(all);
  bool hasServer = false;
  while (!arguments.atEnd()) {
    const auto name = arguments.next();
    if (name == "--help" || name == "--version") {
      options.task = name == "--help" ? Options::Task::kHelp : Options::Task::kVersion;
      return options;
    }
    if (name == "--play") {
      options.play = true;
    } else if (name == "--json") {
      options.json = true;
    } else if (name == "--cable") {
      options.cable = true;
    } else if (name == "--port") {
      options.port = arguments.atEnd() ? std::nullopt : parsePort(arguments.next());
      if (!options.port) return std::unexpected("--port needs a number from 1 to 65535.");
    } else if (auto* value = fileOption(options, name)) {
      if (arguments.atEnd()) return std::unexpected(std::string(name) + " needs a value.");
      *value = arguments.next();
    } else if (name == "--seconds") {
      options.duration = arguments.atEnd() ? std::nullopt : parseSeconds(arguments.next());
      if (!options.duration) return std::unexpected("--seconds needs a number above 0.");
    } else if (name.starts_with("-")) {
      return std::unexpected("There is no option " + quoted(name) + ".");
    } else if (hasServer) {
      return std::unexpected("One ADDRESS:PORT is enough; " + quoted(name) + " is too much.");
    } else {
      const auto server = wire::Endpoint::parse(name);
      if (!server || server->port == 0) {
        return std::unexpected(quoted(name) + " is not ADDRESS:PORT, such as 192.168.1.20:9000.");
      }
      options.server = *server;
      hasServer = true;
    }
  }
  if (options.cable && hasServer) {
    return std::unexpected("With --cable the computer comes to us: leave ADDRESS:PORT out.");
  }
  if (options.port && !options.cable) return std::unexpected("--port goes with --cable.");
  if (!options.cable && !hasServer) {
    return std::unexpected("ADDRESS:PORT is missing, such as 192.168.1.20:9000.");
  }
  if (options.sink) options.play = true;
  return options;
}

std::string_view usage() {
  return R"(usage: quorin-listen ADDRESS:PORT [OPTIONS]
       quorin-listen --cable [OPTIONS]

Joins a running Quorin Stream as a phone does, and measures what arrives.

  --cable          be the phone at the end of the cable, for quorin-stream on this machine
  --port N         with --cable: the port to listen on (2345)
  --wav FILE       write the sound to a WAV file
  --play           play the sound through the default sink
  --sink NAME      play the sound through this sink (see: pactl list short sinks)
  --seconds N      stop N seconds after it was let in; without it Ctrl+C ends the program
  --arrivals FILE  write one line per datagram: time of arrival in ns, sample frames
  --json           print the result as JSON
  --help           print this text
  --version        print the version

Exit status: 0 listened, 1 no answer, a wrong one or another failure, 2 wrong usage, 3 the server
is full.
)";
}

}  // namespace quorin::listen
