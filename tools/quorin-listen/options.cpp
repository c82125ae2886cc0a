#include "quorin-listen/options.h"

#include "core/version.h"
#include "wire/cable_frames.h"

#include <QCommandLineParser>
#include <cmath>

namespace quorin::listen {

std::expected<Options, std::string> parseOptions(const QStringList& arguments) {
  QCommandLineParser parser;
  parser.setApplicationDescription(
      "Joins a running Quorin Stream as a phone does, and measures what arrives.\n\nExit status: 0 "
      "listened, 1 no answer, a wrong one or another failure, 2 wrong usage, 3 the\nserver is "
      "full.");
  parser.addPositionalArgument("ADDRESS:PORT", "Where it streams; without it --cable.");
  parser.addOptions(
      {{"cable", "Be the phone at the end of the cable, for quorin-stream on this computer."},
       {"port", "With --cable: the port to listen on (2345).", "N",
        QString::number(wire::kCablePort)},
       {"wav", "Write the sound to a WAV file.", "FILE"},
       {"seconds", "Stop N seconds after it was let in; without it Ctrl+C ends the program.", "N"},
       {"arrivals", "Write one line per datagram: time of arrival in ns, sample frames.", "FILE"},
       {"json", "Print the result as JSON."},
       {{"h", "help"}, "Print this text and exit."},
       {"version", "Print the version and exit."}});
  if (!parser.parse(arguments)) return std::unexpected(parser.errorText().toStdString());

  Options options;
  if (parser.isSet("help")) options.answer = parser.helpText().toStdString();
  if (parser.isSet("version")) options.answer = "quorin-listen " + std::string(version()) + '\n';
  if (!options.answer.empty()) return options;

  const auto text = [&parser](const char* name) {
    return parser.isSet(name) ? std::optional(parser.value(name).toStdString()) : std::nullopt;
  };
  options.wav = text("wav");
  options.arrivals = text("arrivals");
  options.json = parser.isSet("json");
  options.cable = parser.isSet("cable");
  options.port = parser.value("port").toUShort();
  if (options.port == 0) return std::unexpected("--port needs a number from 1 to 65535.");
  if (parser.isSet("seconds")) {
    constexpr double kYear = 365.0 * 24 * 3600;
    const double seconds = parser.value("seconds").toDouble();
    if (std::isnan(seconds) || seconds <= 0 || seconds >= kYear) {
      return std::unexpected("--seconds needs a number above 0.");
    }
    options.duration = std::chrono::milliseconds(std::llround(seconds * 1000));
  }

  const auto servers = parser.positionalArguments();
  if (options.cable && !servers.isEmpty()) {
    return std::unexpected("With --cable the computer comes to us: leave ADDRESS:PORT out.");
  }
  if (options.cable) return options;
  if (parser.isSet("port")) return std::unexpected("--port goes with --cable.");
  const auto server =
      servers.size() == 1 ? wire::Endpoint::parse(servers[0].toStdString()) : std::nullopt;
  if (!server || server->port == 0) {
    return std::unexpected("One ADDRESS:PORT is needed, such as 192.168.1.20:9000.");
  }
  options.server = *server;
  return options;
}

}  // namespace quorin::listen
