#include "platform/desktop/settings.h"

#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QStringList>

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

std::expected<void, SettingsError> open(SettingsPage page) {
  const auto desktop = qgetenv("XDG_CURRENT_DESKTOP").toStdString();
  const auto commands = settingsCommands(page, desktop, installedHere());
  if (commands.empty()) return std::unexpected(SettingsError::kNothingInstalled);
  for (const Command& command : commands) {
    if (start(command)) return {};
  }
  return std::unexpected(SettingsError::kNotStarted);
}

}  // namespace

std::expected<void, SettingsError> openSoundSettings() {
  return open(SettingsPage::kSound);
}

std::expected<void, SettingsError> openMicPrivacySettings() {
  return open(SettingsPage::kMicrophonePrivacy);
}

}  // namespace quorin::desktop
