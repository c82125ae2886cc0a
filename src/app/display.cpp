#include "app/display.h"

#include <QString>
#include <QtGlobal>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace quorin::app {
namespace {

/// What Qt says before it gives up; of interest only when it does not.
QString& heldBack() {
  static QString text;
  return text;
}

void receive(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  if (type != QtFatalMsg) {
    heldBack() += qFormatLogMessage(type, context, message) + QLatin1Char('\n');
    return;
  }
  std::fprintf(stderr,
               "%s: There is no display to show a window on. Start it on a desktop, or without a "
               "window by QT_QPA_PLATFORM=offscreen.\n",
               ::program_invocation_short_name);
  std::_Exit(EXIT_FAILURE);
}

}  // namespace

DisplayRequired::DisplayRequired() {
  ::qInstallMessageHandler(receive);
}

DisplayRequired::~DisplayRequired() {
  ::qInstallMessageHandler(nullptr);
  std::fputs(qUtf8Printable(heldBack()), stderr);
  heldBack().clear();
}

}  // namespace quorin::app
