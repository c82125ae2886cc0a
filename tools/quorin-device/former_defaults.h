#pragma once

#include "quorin-device/device_rules.h"

#include <expected>
#include <filesystem>

/// The file that remembers the former default devices until they are restored.
namespace quorin::device {

/// Nothing remembered reads as empty; so does a file that cannot be understood.
Defaults readDefaults(const std::filesystem::path& file);
std::expected<void, Error> writeDefaults(const std::filesystem::path& file,
                                         const Defaults& defaults);
void forgetDefaults(const std::filesystem::path& file);

}  // namespace quorin::device
