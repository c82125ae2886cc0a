#include "app/diagnosis.h"
#include "app/fact_finding.h"
#include "app/options.h"
#include "app/pt_app_delegate.h"
#include "app/single_instance.h"
#include "core/identity.h"
#include "core/version.h"
#include "platform/dispatch/system_scheduler.h"
#include "platform/dispatch/termination_signals.h"
#include "platform/posix/program.h"
#include "ui/appearance.h"
#include "ui/display.h"
#include "ui/images.h"
#include "ui/texts.h"
#include "wire/control_message.h"

#include <QApplication>
#include <QLoggingCategory>
#include <cstdio>
#include <optional>

namespace quorin::app {
namespace {

int printAndExit(const QString& text) {
  std::fputs(qUtf8Printable(text), stdout);
  return 0;
}

int printDiagnosis(const Options& options) {
  const auto findings = diagnose(findFacts(options.port.value_or(wire::kDefaultPort)));
  std::fputs(options.json ? asJson(findings).constData() : qUtf8Printable(asText(findings)),
             stdout);
  return wouldStream(findings) ? 0 : 1;
}

int run(QApplication& application, const Options& options) {
  applyDarkAppearance(application);
  QApplication::setWindowIcon(Images().icon(QStringLiteral("Logo")));
  QApplication::setQuitOnLastWindowClosed(false);

  const auto languages = preferredLanguages(options.language.value_or(QString()));
  const CompiledTable bundle(languages);
  const Texts texts(bundle, languages);

  MainWindow* window = nullptr;
  SingleInstance instance([&window](const QString& token) {
    if (window != nullptr) window->bringToFront(token);
  });
  if (!instance.claim()) return 0;

  const auto scheduler = dispatch::makeSystemScheduler();
  PTAppDelegate delegate(*scheduler, texts, options);
  window = &delegate.window();
  const dispatch::TerminationSignals termination(scheduler->mainQueue(),
                                                 [] { QCoreApplication::quit(); });
  delegate.applicationDidFinishLaunching();
  const int status = QApplication::exec();
  window = nullptr;
  return status;
}

int launch(int argc, char** argv) {
  QStringList arguments;
  for (int i = 0; i < argc; ++i) arguments << QString::fromLocal8Bit(argv[i]);

  const auto options = parseOptions(arguments);
  if (!options) {
    std::fprintf(stderr, "quorin-stream: %s\n", qUtf8Printable(options.error()));
    return kUsageError;
  }
  if (options->verbose) QLoggingCategory::setFilterRules(QStringLiteral("quorin.*.debug=true"));

  // What only prints needs no display.
  switch (options->action) {
    case Options::Action::kShowHelp: {
      const QCoreApplication application(argc, argv);
      return printAndExit(helpText());
    }
    case Options::Action::kShowVersion:
      return printAndExit(
          QStringLiteral("quorin-stream %1\n")
              .arg(QString::fromUtf8(version().data(), static_cast<qsizetype>(version().size()))));
    case Options::Action::kDiagnose: {
      const QCoreApplication application(argc, argv);
      return printDiagnosis(*options);
    }
    case Options::Action::kRun:
      break;
  }

  QApplication::setApplicationName(QString::fromLatin1(kProgramName));
  QGuiApplication::setDesktopFileName(QString::fromLatin1(kApplicationId));
  std::optional<DisplayRequired> displayRequired(std::in_place);
  QApplication application(argc, argv);
  displayRequired.reset();
  return run(application, *options);
}

}  // namespace
}  // namespace quorin::app

int main(int argc, char** argv) {
  return quorin::posix::runProgram("quorin-stream", argc, argv, quorin::app::launch);
}
