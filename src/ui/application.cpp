#include "ui/application.h"

#include "ui/appearance.h"
#include "ui/picture.h"

#include <QString>
#include <cstdio>
#include <cstdlib>

namespace quorin::app {
namespace {

QtMessageHandler handlerBefore = nullptr;
bool lacksWayland = false;

/// Qt's warnings say what is missing; its final advice, to install the application again, would
/// mislead.
void receive(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  if (type != QtFatalMsg) {
    lacksWayland |=
        message.startsWith(QStringLiteral("Could not find the Qt platform plugin \"wayland"));
    return handlerBefore(type, context, message);
  }
  std::fprintf(stderr, "%s: There is no display here that a window could be shown on; %s.\n",
               qUtf8Printable(QCoreApplication::applicationName()),
               lacksWayland ? "on Wayland it needs the package qt6-wayland"
                            : "start it on a desktop, or set QT_QPA_PLATFORM=offscreen to go "
                              "without a window");
  std::_Exit(EXIT_FAILURE);
}

}  // namespace

std::unique_ptr<QApplication> makeApplication(int& argc, char** argv) {
  handlerBefore = ::qInstallMessageHandler(receive);
  auto application = std::make_unique<QApplication>(argc, argv);
  ::qInstallMessageHandler(handlerBefore);
  applyDarkAppearance(*application);
  QApplication::setWindowIcon(icon("Logo"));
  return application;
}

}  // namespace quorin::app
