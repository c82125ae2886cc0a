#include "wifi/port_text.h"

#include <charconv>
#include <limits>

namespace quorin::wifi {

int leadingInteger(std::string_view text) {
  const auto start = text.find_first_not_of(" \t\n\v\f\r");
  if (start == std::string_view::npos) return 0;
  text.remove_prefix(start);
  const bool negative = text.starts_with('-');
  if (text.starts_with("+") && !text.starts_with("+-")) text.remove_prefix(1);

  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc::result_out_of_range) {
    return negative ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
  }
  return number;
}

std::optional<std::uint16_t> parsePort(std::string_view text) {
  const int number = leadingInteger(text);
  if (number < 1 || number > std::numeric_limits<std::uint16_t>::max()) return std::nullopt;
  return static_cast<std::uint16_t>(number);
}

}  // namespace quorin::wifi
