#include "ui/display.h"

#include <QCoreApplication>
#include <QString>
#include <cstdio>
#include <cstdlib>

namespace quorin::app {
namespace {

bool lacksWayland = false;

/// Qt's warnings say what is missing; its final advice, to install the application again, would
/// mislead.
void receive(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  if (type != QtFatalMsg) {
    lacksWayland |=
        message.startsWith(QStringLiteral("Could not find the Qt platform plugin \"wayland"));
    std::fprintf(stderr, "%s\n", qUtf8Printable(::qFormatLogMessage(type, context, message)));
    return;
  }
  std::fprintf(stderr, "%s: There is no display here that a window could be shown on; %s.\n",
               qUtf8Printable(QCoreApplication::applicationName()),
               lacksWayland ? "on Wayland it needs the package qt6-wayland"
                            : "start it on a desktop, or set QT_QPA_PLATFORM=offscreen to go "
                              "without a window");
  std::_Exit(EXIT_FAILURE);
}

}  // namespace

DisplayRequired::DisplayRequired() : handlerBefore_(::qInstallMessageHandler(receive)) {}

DisplayRequired::~DisplayRequired() {
  ::qInstallMessageHandler(handlerBefore_);
}

}  // namespace quorin::app
