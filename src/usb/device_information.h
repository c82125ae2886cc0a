#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace quorin::usb {

/// What a device information frame says: a property list, XML or binary, of one dictionary. Both
/// texts can be displayed.
struct DeviceInformation {
  std::string name;         ///< the entry "name"; empty when there is none
  std::string description;  ///< the dictionary as XML, at most about a thousand characters
};

/// None when the payload is not such a list, is too large, or would expand too much when parsed.
std::optional<DeviceInformation> readDeviceInformation(std::span<const std::byte> payload);

}  // namespace quorin::usb
