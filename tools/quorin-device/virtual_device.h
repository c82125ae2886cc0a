#pragma once

#include "quorin-device/arguments.h"
#include "quorin-device/former_defaults.h"
#include "quorin-device/login_file.h"
#include "quorin-device/pulse_client.h"

#include <cstdint>
#include <expected>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace quorin::device {

/// Where the user's files are.
struct Places {
  ConfigFolders config;
  std::filesystem::path formerDefaults;
};

/// Writes one line for the user.
using Say = std::function<void(const std::string& line)>;

/// Creates what is missing of the device; the modules that it loaded for that. `lender` as for
/// `sinkModule`.
std::expected<std::vector<std::uint32_t>, Error> createDevice(PulseClient& client, int lender = 0);

/// The device becomes the default output and input.
std::expected<void, Error> makeDefault(PulseClient& client);

/// Makes `former` default again where the device still is; a default that the user has chosen
/// since stays.
void restoreDefaults(PulseClient& client, const Defaults& former, const Say& say);

// The commands.

std::expected<void, Error> add(PulseClient& client, const Places& places,
                               const Arguments& arguments, const Say& say);
/// From the server; `unpersist` is another matter.
std::expected<void, Error> remove(PulseClient& client, const Places& places, const Say& say);
/// Whether the device check of quorin-stream would pass.
std::expected<bool, Error> status(PulseClient& client, const Places& places, const Say& say);

}  // namespace quorin::device
