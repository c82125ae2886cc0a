#pragma once

#include "platform/audio/devices.h"

#include <optional>
#include <string>
#include <string_view>

/// The rules that say whether the computer's sound comes through the virtual device. Pure.
namespace quorin::audio {

inline constexpr std::string_view kExpectedDeviceName = "Quorin Audio";

/// True when there is a device whose name can be read and contains `expected`, whatever the case
/// of its ASCII letters. An empty `expected` names nothing.
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

/// The key of the text that asks for what is wrong; none when nothing is.
std::optional<std::string_view> guardTextKey(const Routing& routing);

}  // namespace quorin::audio
