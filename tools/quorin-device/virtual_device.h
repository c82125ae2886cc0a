#pragma once

#include "quorin-device/device_rules.h"

#include <filesystem>
#include <string>
#include <vector>

/// The steps that the commands are made of. They throw `Error`.
namespace quorin::device {

/// Creates what is missing of the device. `lender` as for `sinkModule`.
void createDevice(PulseClient& client, int lender = 0);

/// Whether the process of a `lenderOf` still runs.
bool isAlive(int lender);

/// Removes all of it that this program has created; whether there was anything.
bool removeDevice(PulseClient& client);

/// The device becomes the default for what `which` names.
void makeDefault(PulseClient& client, const Holds& which = kBoth);

/// Makes `former` default again where the device still is; a default that the user has chosen
/// since stays. Sentences for the user.
std::vector<std::string> restoreDefaults(PulseClient& client, const Defaults& former);

// The file that remembers the former defaults. One that cannot be read reads as empty.
Defaults readDefaults(const std::filesystem::path& file);
/// Whether it could be written.
bool writeDefaults(const std::filesystem::path& file, const Defaults& defaults);
void forgetDefaults(const std::filesystem::path& file);

}  // namespace quorin::device
