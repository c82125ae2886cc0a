#pragma once

/// The program's name on the desktop.
namespace quorin::app {

inline constexpr auto kProgramName = "Quorin Stream";

/// The executable's file name, and so the process name.
inline constexpr auto kProgramFile = "quorin-stream";

/// Reverse domain name: the base name of the desktop file and icons; task bars match the window by
/// it.
inline constexpr auto kApplicationId = "org.quorin.Stream";

}  // namespace quorin::app
