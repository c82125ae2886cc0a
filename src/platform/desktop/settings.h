#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// The desktop's own settings pages. Tells the caller when there are none, so that it can say in
/// words where to look.
namespace quorin::desktop {

enum class SettingsPage : std::uint8_t { kSound, kMicrophonePrivacy };

enum class SettingsError : std::uint8_t {
  kNothingInstalled,  ///< no program that this desktop would show its settings with
  kNotStarted,        ///< there are some, and none could be started
};

/// Open the page in a program of its own, which outlives this one.
std::expected<void, SettingsError> openSoundSettings();
std::expected<void, SettingsError> openMicPrivacySettings();

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
