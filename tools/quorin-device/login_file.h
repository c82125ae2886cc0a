#pragma once

#include "quorin-device/pulse_client.h"

#include <expected>
#include <filesystem>
#include <string>
#include <string_view>

/// What makes the audio server create the device at every login: lines in a file of the person's
/// own configuration folder.
namespace quorin::device {

/// The null sink behind "Quorin Audio".
inline constexpr std::string_view kSinkName = "quorin_audio";
inline constexpr std::string_view kModuleName = "module-null-sink";

/// PulseAudio and PipeWire take different quotings of a description; both take this one. Without
/// "norewinds" the first sound of an idle null sink can be almost 2 s late.
inline constexpr std::string_view kModuleArgument =
    "sink_name=quorin_audio norewinds=1 "
    "sink_properties='device.description=\"Quorin Audio\"'";

/// Where the servers look for what the person wants of them.
struct ConfigFolders {
  std::filesystem::path pulse;        ///< holds "default.pa"
  std::filesystem::path systemPulse;  ///< the same, for everybody
  std::filesystem::path pipeWire;     ///< holds "pipewire-pulse.conf.d"
};

/// Has `server` create the device from the next login on. The path written.
std::expected<std::filesystem::path, Error> persist(const ServerInfo& server,
                                                    const ConfigFolders& folders);

/// Undoes `persist` for every kind of server and leaves nothing behind; whether there was
/// anything to undo.
std::expected<bool, Error> unpersist(const ConfigFolders& folders);

bool isPersistent(const ConfigFolders& folders);

// PulseAudio reads either the person's script or the system's, so that lines are added to the
// person's, or a script is made that includes the system's. The texts of such scripts:

/// `script` with our lines at its end, just once. An empty one includes `systemScript`.
std::string withDevice(std::string_view script, const std::filesystem::path& systemScript);

/// `script` without our lines; empty when nobody else's are left.
std::string withoutDevice(std::string_view script);

}  // namespace quorin::device
