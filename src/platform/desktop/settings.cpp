#include "platform/desktop/settings.h"

#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QStringList>
#include <algorithm>
#include <optional>

namespace quorin::desktop {
namespace {

/// One way to show a page.
struct Way {
  const char* desktop;               ///< only on this desktop; empty: on any
  std::optional<SettingsPage> page;  ///< only this page; none: all
  const char* command;
  const char* desktopEntry = nullptr;  ///< installed with the page, if named
};

using enum SettingsPage;

// Best first. GNOME moved the microphone from a page of its own into "privacy" with version 44. KDE
// keeps the microphone's switches with the sound's. A mixer's tabs have numbers.
constexpr Way kWays[] = {
    {"GNOME", kSound, "gnome-control-center sound"},
    {"GNOME", kSoundInput, "gnome-control-center sound"},
    {"GNOME", kMicrophonePrivacy, "gnome-control-center microphone",
     "gnome-microphone-panel.desktop"},
    {"GNOME", kMicrophonePrivacy, "gnome-control-center privacy microphone"},
    {"KDE", {}, "systemsettings kcm_pulseaudio", "kcm_pulseaudio.desktop"},
    {"KDE", {}, "systemsettings5 kcm_pulseaudio", "kcm_pulseaudio.desktop"},
    {"KDE", {}, "kcmshell6 kcm_pulseaudio", "kcm_pulseaudio.desktop"},
    {"", kSound, "pavucontrol -t 3"},
    {"", kSoundInput, "pavucontrol -t 4"},
    {"", {}, "pavucontrol"},
    {"", kSound, "pavucontrol-qt -t 3"},
    {"", kSoundInput, "pavucontrol-qt -t 4"},
    {"", {}, "pavucontrol-qt"},
    {"GNOME", {}, "gnome-control-center"},
    {"KDE", {}, "systemsettings"},
    {"KDE", {}, "systemsettings5"},
    {"XFCE", {}, "xfce4-settings-manager"},
    {"MATE", {}, "mate-control-center"},
    {"X-Cinnamon", {}, "cinnamon-settings"},
    {"LXQt", {}, "lxqt-config"},
};

bool start(const Way& way) {
  if (way.desktopEntry && QStandardPaths::locate(QStandardPaths::ApplicationsLocation,
                                                 QString::fromLatin1(way.desktopEntry))
                              .isEmpty()) {
    return false;
  }
  auto words = QProcess::splitCommand(QString::fromLatin1(way.command));
  const auto program = words.takeFirst();
  return QProcess::startDetached(program, words);  // false where it is not installed
}

}  // namespace

bool openSettings(SettingsPage page) {
  const auto desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':') << QString();
  return std::ranges::any_of(kWays, [&](const Way& way) {
    return desktops.contains(QString::fromLatin1(way.desktop)) && way.page.value_or(page) == page &&
           start(way);
  });
}

}  // namespace quorin::desktop
