#pragma once

#include "wire/frame.h"

#include <cstdint>
#include <expected>
#include <span>
#include <string_view>
#include <vector>

/// The frames that the computer and the phone's app exchange (header: `wire/frame.h`).
namespace quorin::wire {

/// On the phone; for one simulated on this machine, on 127.0.0.1.
inline constexpr std::uint16_t kCablePort = 2345;

enum class CableFrame : std::uint32_t {
  kEndOfStream = 0,          ///< the channel framework's own; accepted and ignored
  kDeviceInformation = 100,  ///< phone to computer: a property list, one dictionary
  kText = 101,               ///< both ways: see below; tag 0 from the computer
  kPing = 102,               ///< computer to phone: a fresh tag, no payload
  kPong = 103,               ///< phone to computer: the ping's tag, payload ignored
  kAudio = 104,              ///< computer to phone: tag 0, one audio chunk of 3528 bytes
};

/// True for the types above; any other ends the channel.
bool isKnownCableFrame(std::uint32_t type);

/// The payload of a text frame; what follows the text is ignored on receipt. A payload that cannot
/// be read yields the reason.
///
///     0                  4                    4 + length
///     | length, big-e.   | text, UTF-8, no terminator |
std::vector<std::byte> encodeText(std::string_view text);
std::expected<std::string_view, const char*> decodeText(std::span<const std::byte> payload);

}  // namespace quorin::wire
