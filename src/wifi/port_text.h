#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace quorin::wifi {

/// The integer at the start of a typed text, after white space and a sign; anything may follow. 0
/// if there is none; a number that is too large becomes the largest.
int leadingInteger(std::string_view text);

/// The leading integer as a port; none unless it is within 1 to 65535.
std::optional<std::uint16_t> parsePort(std::string_view text);

}  // namespace quorin::wifi
