#include "platform/desktop/settings.h"

#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QStringList>
#include <algorithm>

namespace quorin::desktop {
namespace {

QString text(std::string_view value) {
  return QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size()));
}

Installed installedHere() {
  return {.program =
              [](std::string_view name) {
                return !QStandardPaths::findExecutable(text(name)).isEmpty();
              },
          .desktopEntry =
              [](std::string_view name) {
                return !QStandardPaths::locate(QStandardPaths::ApplicationsLocation, text(name))
                            .isEmpty();
              }};
}

bool start(const Command& command) {
  QStringList arguments;
  for (const auto& argument : command.arguments) arguments << text(argument);
  return QProcess::startDetached(text(command.program), arguments);
}

}  // namespace

bool openSettings(SettingsPage page) {
  const auto desktop = qgetenv("XDG_CURRENT_DESKTOP").toStdString();
  return std::ranges::any_of(settingsCommands(page, desktop, installedHere()), start);
}

}  // namespace quorin::desktop
