#pragma once

#include "platform/audio/devices.h"

#include <optional>
#include <string>
#include <string_view>

/// Decides whether the computer's sound goes through the virtual device. Pure.
namespace quorin::audio {

inline constexpr std::string_view kExpectedDeviceName = "Quorin Audio";

/// True when the device exists and its name is readable and contains `expected`, ignoring ASCII
/// case. False for an empty `expected`.
bool isDefaultDeviceNamed(const Device& device, std::string_view expected);

/// Whether sound of this device may leave the computer.
inline bool mayBeStreamed(const Device& source) {
  return isDefaultDeviceNamed(source, kExpectedDeviceName);
}

/// For the status lines: the device's name, "(sin dispositivo)" or "(desconocido)"; the same in
/// every language.
std::string currentDeviceName(const Device& device);

/// Which of the two default devices are the virtual one.
struct Routing {
  bool outOK = false;
  bool inOK = false;

  bool isRight() const { return outOK && inOK; }
  bool operator==(const Routing&) const = default;
};

Routing routingOf(const DefaultDevices& devices);

/// The key of the text that asks the user to correct the devices; none when both are right.
std::optional<std::string_view> guardTextKey(const Routing& routing);

}  // namespace quorin::audio
