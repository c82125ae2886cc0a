#include "app/diagnosis.h"
#include "app/options.h"
#include "app/pt_app_delegate.h"
#include "core/identity.h"
#include "core/log.h"
#include "core/version.h"
#include "platform/desktop/single_instance.h"
#include "platform/dispatch/system_scheduler.h"
#include "platform/dispatch/termination_signals.h"
#include "platform/posix/program.h"
#include "ui/application.h"
#include "ui/texts.h"
#include "wire/control_message.h"

#include <QApplication>
#include <cstdio>
#include <optional>
#include <string>

namespace quorin::app {
namespace {

/// The application for actions that only print: in the user's language, without a display.
struct Printing {
  Printing(int& argc, char** argv, const QString& language)
      : application(argc, argv), texts(preferredLanguages(language)) {
    QCoreApplication::installTranslator(&texts.translator());
  }
  QCoreApplication application;
  Texts texts;
};

/// Runs an action that only prints; returns the exit status.
int print(const Options& options, const Texts& texts) {
  if (options.action == Options::Action::kShowHelp) {
    std::fputs(qUtf8Printable(helpText()), stdout);
  } else if (options.action == Options::Action::kShowVersion) {
    std::printf("quorin-stream %s\n", std::string(version()).c_str());
  } else {
    const auto address = options.address.transform(&QString::toStdString);
    const auto findings =
        diagnose(findFacts(options.port.value_or(wire::kDefaultPort), address), texts);
    std::fputs(options.json ? asJson(findings).constData() : qUtf8Printable(asText(findings)),
               stdout);
    if (!wouldStream(findings)) return 1;
  }
  return 0;
}

int failWith(const QString& sentence, int status) {
  std::fprintf(stderr, "%s: %s\n", kProgramFile, qUtf8Printable(sentence));
  return status;
}

int run(const Options& options, desktop::SingleInstance& instance) {
  QApplication::setQuitOnLastWindowClosed(false);

  Texts texts(preferredLanguages(options.language.value_or(QString())));
  QCoreApplication::installTranslator(&texts.translator());

  const auto scheduler = dispatch::makeSystemScheduler();
  PTAppDelegate delegate(*scheduler, texts, options);
  const dispatch::TerminationSignals termination(scheduler->mainQueue(),
                                                 [] { QCoreApplication::exit(); });
  delegate.applicationDidFinishLaunching();
  instance.serve(scheduler->mainQueue(), [&](const desktop::SingleInstance::Request& request,
                                             const desktop::SingleInstance::Answer& answer) {
    const auto wanted = parseOptions(QStringList(kProgramFile) + request.arguments);
    if (!wanted) return answer(wanted.error());
    if (wanted->language.value_or(texts.language()) != texts.language()) {
      return answer(qtTrId("It runs in another language already; quit it first."));
    }
    delegate.takeOver(*wanted, request.activationToken,
                      [answer, verbose = wanted->verbose](const QString& refusal) {
                        if (verbose && refusal.isEmpty()) log::setVerbose();
                        answer(refusal);
                      });
  });
  return QApplication::exec();
}

int launch(int argc, char** argv) {
  QStringList arguments;
  for (int i = 0; i < argc; ++i) arguments << QString::fromLocal8Bit(argv[i]);

  std::optional<Printing> printing(std::in_place, argc, argv, languageIn(arguments));
  const auto options = parseOptions(arguments);
  if (!options) return failWith(options.error(), kUsageError);
  if (options->verbose) log::setVerbose();
  if (options->action != Options::Action::kRun) return print(*options, printing->texts);

  desktop::SingleInstance instance;
  if (!instance.isFirst()) {
    const auto refusal = instance.handOver(arguments.mid(1));
    return refusal.isEmpty() ? 0 : failWith(refusal, 1);
  }
  printing.reset();

  QApplication::setApplicationName(QString::fromLatin1(kProgramName));
  QGuiApplication::setDesktopFileName(QString::fromLatin1(kApplicationId));
  const auto application = makeApplication(argc, argv);
  return run(*options, instance);
}

}  // namespace
}  // namespace quorin::app

int main(int argc, char** argv) {
  return quorin::posix::runProgram("quorin-stream", argc, argv, quorin::app::launch);
}
