#pragma once

#include <cstdint>

/// The desktop's own settings pages. Fails when there are none, so that the caller can describe
/// where to look.
namespace quorin::desktop {

/// `kSound` means the outputs, if the program has separate pages.
enum class SettingsPage : std::uint8_t { kSound, kSoundInput, kMicrophonePrivacy };

/// Opens the page in a program of its own, which outlives this one: the desktop's page, else a
/// mixer, else any settings program's first page. False when there is none that could be started.
bool openSettings(SettingsPage page);

}  // namespace quorin::desktop
