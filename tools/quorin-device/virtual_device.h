#pragma once

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
Done makeDefault(PulseClient& client);

/// Makes `former` default again where the device still is; a default that the user has chosen
/// since stays.
void restoreDefaults(PulseClient& client, const Defaults& former, const Say& say);

// The file that remembers the former defaults. One that cannot be read reads as empty.
Defaults readDefaults(const std::filesystem::path& file);
Done writeDefaults(const std::filesystem::path& file, const Defaults& defaults);
void forgetDefaults(const std::filesystem::path& file);

// The commands.

struct AddOptions {
  bool persist = false;      ///< at every login
  bool makeDefault = false;  ///< as the default output and input
};
Done add(PulseClient& client, const Places& places, const AddOptions& options, const Say& say);
/// From the server; `unpersist` is another matter.
Done remove(PulseClient& client, const Places& places, const Say& say);
/// Whether the device check of quorin-stream would pass.
std::expected<bool, Error> status(PulseClient& client, const Places& places, const Say& say);

}  // namespace quorin::device
