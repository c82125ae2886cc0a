#include "platform/desktop/settings.h"

#include <algorithm>
#include <array>
#include <optional>

namespace quorin::desktop {
namespace {

/// One way to show a page.
struct Way {
  std::string_view desktop{};          ///< only there; empty: anywhere
  std::optional<SettingsPage> page{};  ///< only that; none: all
  std::string_view program;
  std::array<std::string_view, 2> arguments{};  ///< until the first empty one
  std::string_view desktopEntry{};              ///< installed with the page, if named
};

using enum SettingsPage;

// GNOME moved the microphone from a page of its own into "privacy" with version 44. KDE keeps the
// microphone's switches with the sound's.
constexpr Way kWays[] = {
    {.desktop = "GNOME", .page = kSound, .program = "gnome-control-center", .arguments = {"sound"}},
    {.desktop = "GNOME",
     .page = kMicrophonePrivacy,
     .program = "gnome-control-center",
     .arguments = {"microphone"},
     .desktopEntry = "gnome-microphone-panel.desktop"},
    {.desktop = "GNOME",
     .page = kMicrophonePrivacy,
     .program = "gnome-control-center",
     .arguments = {"privacy", "microphone"}},
    {.desktop = "KDE",
     .program = "systemsettings",
     .arguments = {"kcm_pulseaudio"},
     .desktopEntry = "kcm_pulseaudio.desktop"},
    {.desktop = "KDE",
     .program = "systemsettings5",
     .arguments = {"kcm_pulseaudio"},
     .desktopEntry = "kcm_pulseaudio.desktop"},
    {.desktop = "KDE",
     .program = "kcmshell6",
     .arguments = {"kcm_pulseaudio"},
     .desktopEntry = "kcm_pulseaudio.desktop"},
    {.program = "pavucontrol"},
    {.program = "pavucontrol-qt"},
    {.desktop = "GNOME", .program = "gnome-control-center"},
    {.desktop = "KDE", .program = "systemsettings"},
    {.desktop = "KDE", .program = "systemsettings5"},
    {.desktop = "XFCE", .program = "xfce4-settings-manager"},
    {.desktop = "MATE", .program = "mate-control-center"},
    {.desktop = "X-Cinnamon", .program = "cinnamon-settings"},
    {.desktop = "LXQt", .program = "lxqt-config"},
};

bool isAmong(std::string_view name, std::string_view desktops) {
  while (!desktops.empty()) {
    const auto end = desktops.find(':');
    if (desktops.substr(0, end) == name) return true;
    desktops.remove_prefix(end == std::string_view::npos ? desktops.size() : end + 1);
  }
  return false;
}

}  // namespace

std::vector<Command> settingsCommands(SettingsPage page, std::string_view desktop,
                                      const Installed& installed) {
  const SettingsPage kind = page == kSoundInput ? kSound : page;
  std::vector<Command> commands;
  for (const Way& way : kWays) {
    if (!way.desktop.empty() && !isAmong(way.desktop, desktop)) continue;
    if (way.page.value_or(kind) != kind) continue;
    if (!installed.program(way.program)) continue;
    if (!way.desktopEntry.empty() && !installed.desktopEntry(way.desktopEntry)) continue;
    const auto end = std::ranges::find(way.arguments, std::string_view());
    commands.push_back(
        {.program = std::string(way.program), .arguments = {way.arguments.begin(), end}});
    if (kind == kSound && way.program.starts_with("pavucontrol")) {  // its tabs, by number
      commands.back().arguments = {"-t", page == kSoundInput ? "4" : "3"};
    }
  }
  return commands;
}

}  // namespace quorin::desktop
