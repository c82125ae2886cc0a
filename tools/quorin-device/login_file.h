#pragma once

#include "quorin-device/device_rules.h"

#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

/// What makes the audio server create the device at every login: lines in a file of the user's
/// own configuration folder.
namespace quorin::device {

/// Where the servers look for what the user wants of them.
struct ConfigFolders {
  std::filesystem::path pulse;        ///< holds "default.pa"
  std::filesystem::path systemPulse;  ///< the same, for all users
  std::filesystem::path pipeWire;     ///< holds "pipewire-pulse.conf.d"
};

/// Has the server create the device from the next login on. The path written.
std::expected<std::filesystem::path, Error> persist(bool isPipeWire, const ConfigFolders& folders);

/// Undoes `persist` for every kind of server and leaves nothing behind; whether there was
/// anything to undo.
std::expected<bool, Error> unpersist(const ConfigFolders& folders);

bool isPersistent(const ConfigFolders& folders);

/// A start script of PulseAudio without any of our lines, whatever its line ends; empty when no
/// others are left. None when a block of ours has lost its last line: what follows may be the
/// user's.
std::optional<std::string> withoutDevice(std::string_view script);

}  // namespace quorin::device
