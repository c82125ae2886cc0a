#include "wifi/request.h"
#include "wire/control_message.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

namespace {

using namespace quorin;

/// UTF-8 by decoding, one code point at a time: another way to the same answer as the table of
/// `wire::isValidUtf8`.
bool decodes(std::string_view bytes) {
  constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  for (std::size_t i = 0; i < bytes.size();) {
    const auto lead = static_cast<std::uint8_t>(bytes[i]);
    std::size_t length = 1;
    std::uint32_t point = lead;
    if (lead >= 0x80) {
      length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
      if (lead < 0xC0 || lead >= 0xF8 || i + length > bytes.size()) return false;
      point = lead & (0x7FU >> length);
      for (std::size_t k = 1; k < length; ++k) {
        const auto next = static_cast<std::uint8_t>(bytes[i + k]);
        if ((next & 0xC0U) != 0x80) return false;
        point = point << 6U | (next & 0x3FU);
      }
    }
    const bool surrogate = point >= 0xD800 && point <= 0xDFFF;
    if (point < kSmallest[length] || point > 0x10FFFF || surrogate) return false;
    i += length;
  }
  return true;
}

std::optional<wifi::Request> expected(std::string_view datagram) {
  if (datagram.empty() || datagram.size() > 127 || !decodes(datagram)) return std::nullopt;
  const std::string text(datagram);
  if (text.find("<<HELLO>>") != std::string::npos) return wifi::Request::kHello;
  if (text.find("<<PING>>") != std::string::npos) return wifi::Request::kPing;
  if (text.find("<<STOP>>") != std::string::npos) return wifi::Request::kStop;
  return std::nullopt;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view datagram(reinterpret_cast<const char*>(data), size);
  if (wire::isValidUtf8(datagram) != decodes(datagram)) std::abort();
  if (wifi::parseRequest(datagram) != expected(datagram)) std::abort();
  return 0;
}
