#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// The desktop's own settings pages. Tells the caller when there are none, so that it can say in
/// words where to look.
namespace quorin::desktop {

/// `kSound` is the outputs where a program has a page for each.
enum class SettingsPage : std::uint8_t { kSound, kSoundInput, kMicrophonePrivacy };

/// Opens the page in a program of its own, which outlives this one; false when there is none that
/// could be started.
bool openSettings(SettingsPage page);

struct Command {
  std::string program;
  std::vector<std::string> arguments;

  bool operator==(const Command&) const = default;
};

/// What is there to open settings with.
struct Installed {
  std::function<bool(std::string_view name)> program;
  std::function<bool(std::string_view name)> desktopEntry;  ///< "gnome-sound-panel.desktop"
};

/// The commands that show `page`, best first: the desktop's page, a mixer, then any settings
/// program's first page. `desktop` is XDG_CURRENT_DESKTOP: names with colons between them.
std::vector<Command> settingsCommands(SettingsPage page, std::string_view desktop,
                                      const Installed& installed);

}  // namespace quorin::desktop
