#include "ui/display.h"

#include <QCoreApplication>
#include <QString>
#include <cstdio>
#include <cstdlib>

namespace quorin::app {
namespace {

/// Qt's warnings say what is missing; its last words, that somebody should install it again, would
/// mislead.
void receive(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  if (type != QtFatalMsg) {
    std::fprintf(stderr, "%s\n", qUtf8Printable(::qFormatLogMessage(type, context, message)));
    return;
  }
  std::fprintf(stderr,
               "%s: There is no display here that a window could be shown on; start it on a "
               "desktop, or set QT_QPA_PLATFORM=offscreen to go without a window.\n",
               qUtf8Printable(QCoreApplication::applicationName()));
  std::_Exit(EXIT_FAILURE);
}

}  // namespace

DisplayRequired::DisplayRequired() : handlerBefore_(::qInstallMessageHandler(receive)) {}

DisplayRequired::~DisplayRequired() {
  ::qInstallMessageHandler(handlerBefore_);
}

}  // namespace quorin::app
