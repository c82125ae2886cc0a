#pragma once

#include <filesystem>

/// What makes the audio server create the device at every login: lines in a file of the user's
/// own configuration folder. Throws `Error`.
namespace quorin::device {

/// Where the servers look for what the user wants of them.
struct ConfigFolders {
  std::filesystem::path pulse;        ///< holds "default.pa"
  std::filesystem::path systemPulse;  ///< the same, for all users
  std::filesystem::path pipeWire;     ///< holds "pipewire-pulse.conf.d"
};

/// Has the server create the device from the next login on. The path written.
std::filesystem::path persist(bool isPipeWire, const ConfigFolders& folders);

/// Undoes `persist` for every kind of server and leaves nothing behind; whether there was
/// anything to undo.
bool unpersist(const ConfigFolders& folders);

bool isPersistent(const ConfigFolders& folders);

}  // namespace quorin::device
