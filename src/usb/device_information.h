#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace quorin::usb {

/// The most that is looked at; a phone's own description takes a few hundred bytes.
inline constexpr std::size_t kMaxDeviceInformationBytes = 16 * 1024;

/// Describes the dictionary of a device information frame (a property list, XML or binary) for
/// people:
///
///     {
///         name = "Ana's phone";
///         version = 17;
///     }
///
/// Keys in alphabetical order, at most some thousand characters. None when the payload is not a
/// property list with one dictionary, is too large, or is built to grow when it is read.
std::optional<std::string> describeDeviceInformation(std::span<const std::byte> payload);

}  // namespace quorin::usb
