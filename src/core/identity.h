#pragma once

/// Who the program is to the desktop.
namespace quorin::app {

inline constexpr auto kProgramName = "Quorin Stream";

/// Its file, by which the system names the process.
inline constexpr auto kProgramFile = "quorin-stream";

/// Reverse domain name: the base name of the desktop file and of the icons, and by it the name of
/// the window to task bars.
inline constexpr auto kApplicationId = "org.quorin.Stream";

}  // namespace quorin::app
