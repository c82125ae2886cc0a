#pragma once

#include "quorin-device/pulse_client.h"

#include <expected>
#include <filesystem>
#include <string>

namespace quorin::device {

/// What was default before the virtual device, by the server's names; empty where nothing is to
/// be brought back.
struct Defaults {
  std::string output;
  std::string input;

  bool operator==(const Defaults&) const = default;
};

/// True for the virtual device and its monitor.
bool isVirtual(const std::string& deviceName);

/// What to remember when `current` is about to give way, `remembered` being known from before: a
/// default that is the virtual device already was not chosen, what it replaced was.
Defaults toRemember(const Defaults& current, const Defaults& remembered);

/// Nothing remembered reads as empty; so does a file that cannot be understood.
Defaults readDefaults(const std::filesystem::path& file);
std::expected<void, Error> writeDefaults(const std::filesystem::path& file,
                                         const Defaults& defaults);
void forgetDefaults(const std::filesystem::path& file);

}  // namespace quorin::device
