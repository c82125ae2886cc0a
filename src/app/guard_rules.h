#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Which devices are right, and what the guard says about those that are not.
namespace quorin::app {

struct Device {
  std::uint32_t number = 0;         ///< 0: there is none
  std::optional<std::string> name;  ///< none where it cannot be read

  bool operator==(const Device&) const = default;
};

struct DefaultDevices {
  Device output;
  Device input;

  bool operator==(const DefaultDevices&) const = default;
};

/// The virtual device that the computer's sound runs through.
inline constexpr std::string_view kExpectedDeviceName = "Quorin Audio";

/// True when `device` exists and its name contains `expected`, in upper or lower case.
bool isDefaultDeviceNamed(const Device& device, std::string_view expected);

/// The name to show; the same words in every language where there is none.
std::string currentDeviceName(const Device& device);

/// Whether each of the default devices is the virtual one.
struct Routing {
  bool outOk = false;
  bool inOk = false;

  bool devicesRight() const { return outOk && inOk; }
  bool operator==(const Routing&) const = default;
};

Routing routingOf(const DefaultDevices& devices);

enum class GuardText { kBoth, kOutput, kInput };

/// Which devices the guard asks for; `routing` is not right.
GuardText guardTextFor(const Routing& routing);

struct DeviceStatus {
  bool right = false;
  std::string name;

  bool operator==(const DeviceStatus&) const = default;
};

/// The two status lines under the guard's text.
struct GuardStatus {
  DeviceStatus output;
  DeviceStatus input;

  bool operator==(const GuardStatus&) const = default;
};

GuardStatus guardStatusOf(const DefaultDevices& devices);

}  // namespace quorin::app
