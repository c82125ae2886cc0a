#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace quorin::wifi {

/// The integer that a typed text begins with: white space and a sign may lead, anything may
/// follow. 0 where there is none; a number too large to hold is the largest that can be held.
int leadingInteger(std::string_view text);

/// The leading integer as a port; nothing unless it lies within 1 to 65535.
std::optional<std::uint16_t> parsePort(std::string_view text);

}  // namespace quorin::wifi
