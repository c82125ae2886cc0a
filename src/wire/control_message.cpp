#include "wire/control_message.h"

#include <algorithm>
#include <bit>

namespace quorin::wire {

bool isValidUtf8(std::string_view bytes) {
  constexpr std::uint32_t kFirstOfLength[] = {0, 0, 0x80, 0x800, 0x10000};
  while (!bytes.empty()) {
    const auto lead = static_cast<unsigned char>(bytes[0]);
    const int ones = std::countl_one(lead);
    const auto length = static_cast<std::size_t>(std::max(ones, 1));
    if (ones == 1 || ones > 4 || length > bytes.size()) return false;
    std::uint32_t character = lead & (0x7FU >> static_cast<unsigned>(ones));
    for (const char c : bytes.substr(1, length - 1)) {
      const auto byte = static_cast<unsigned char>(c);
      if ((byte & 0xC0U) != 0x80) return false;
      character = character << 6U | (byte & 0x3FU);
    }
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    if (character < kFirstOfLength[length] || character > 0x10FFFF || isSurrogate) return false;
    bytes.remove_prefix(length);
  }
  return true;
}

}  // namespace quorin::wire
