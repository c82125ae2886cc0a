#include "audio/device_guard.h"
#include "core/log.h"
#include "core/version.h"
#include "panel/content_view.h"
#include "platform/audio/audio_server.h"
#include "platform/dispatch/system_scheduler.h"
#include "platform/dispatch/termination_signals.h"
#include "platform/posix/program.h"
#include "ui/application.h"
#include "ui/texts.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QScreen>
#include <cstdint>
#include <cstdio>
#include <expected>
#include <memory>
#include <string>
#include <utility>

namespace quorin {
namespace {

constexpr int kUsageError = 2;

struct Options {
  std::string answer;  ///< help or version, to be printed instead of running
  std::uint16_t port = wire::kDefaultPort;
};

/// The error is one sentence for who typed the arguments. Needs no display, unlike the panel.
std::expected<Options, QString> parseOptions(int& argc, char** argv) {
  const QCoreApplication application(argc, argv);
  QCommandLineParser parser;
  parser.setApplicationDescription(
      "The server panel in a window of its own: sends the sound of the default input device, as\n"
      "it is captured, to every client that says hello. Closing the window stops the server.");
  parser.addOptions({{"port", "UDP port, 1 to 65535 (9000).", "N"},
                     {"verbose", "Show the server's log lines on a terminal, too."},
                     {{"h", "help"}, "Print this text and exit."},
                     {{"v", "version"}, "Print the version and exit."}});
  if (!parser.parse(QCoreApplication::arguments())) return std::unexpected(parser.errorText());
  if (const auto rest = parser.positionalArguments(); !rest.isEmpty()) {
    return std::unexpected("Unexpected argument '" + rest.first() + "'.");
  }
  Options options;
  if (parser.isSet("verbose")) log::setVerbose();
  if (parser.isSet("help")) options.answer = parser.helpText().toStdString();
  if (parser.isSet("version")) options.answer = "quorin-panel " + std::string(version()) + '\n';
  if (parser.isSet("port")) options.port = parser.value("port").toUShort();
  if (options.port == 0) return std::unexpected("--port takes a number from 1 to 65535.");
  return options;
}

int runPanel(std::uint16_t port) {
  const auto scheduler = dispatch::makeSystemScheduler();
  const auto audioServer = audio::connectToAudioServer(scheduler->backgroundQueue());
  const app::Texts texts(app::preferredLanguages());
  panel::ContentView panel(
      std::make_unique<panel::UDPAudioServer>(
          *scheduler,
          panel::UDPAudioServer::Parts{
              .makeEngine = [&] { return audioServer->makeEngine(audio::mayBeStreamed); },
              .port = port}),
      texts.tr("pairing_instructions"));
  panel.setWindowTitle("Quorin Panel");
  panel.resize(panel.sizeHint().boundedTo(panel.screen()->availableSize()));
  panel.show();

  const dispatch::TerminationSignals terminate(scheduler->mainQueue(),
                                               [] { QApplication::quit(); });
  const int status = QApplication::exec();
  if (panel.server().published().isRunning) panel.server().stop();
  return status;
}

int launch(int argc, char** argv) {
  QCoreApplication::setApplicationName("quorin-panel");
  const auto options = parseOptions(argc, argv);
  if (!options) {
    std::fprintf(stderr, "quorin-panel: %s Try quorin-panel --help.\n",
                 qUtf8Printable(options.error()));
    return kUsageError;
  }
  if (!options->answer.empty()) {
    std::fputs(options->answer.c_str(), stdout);
    return 0;
  }
  const auto application = app::makeApplication(argc, argv);
  return runPanel(options->port);
}

}  // namespace
}  // namespace quorin

int main(int argc, char** argv) {
  return quorin::posix::runProgram("quorin-panel", argc, argv, quorin::launch);
}
