#include "wifi/port_text.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string>

namespace quorin::wifi {

int leadingInteger(std::string_view text) {
  using Int = std::numeric_limits<int>;
  const long long number = std::strtoll(std::string(text).c_str(), nullptr, 10);
  return static_cast<int>(std::clamp<long long>(number, Int::min(), Int::max()));
}

std::optional<std::uint16_t> parsePort(std::string_view text) {
  const int number = leadingInteger(text);
  if (number < 1 || number > std::numeric_limits<std::uint16_t>::max()) return std::nullopt;
  return static_cast<std::uint16_t>(number);
}

}  // namespace quorin::wifi
