#include "wire/text.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <utility>

namespace quorin::wire {
namespace {

/// U+202A to U+202E and U+2066 to U+2069, which reorder the text that follows.
bool changesDirection(std::string_view text) {
  if (!text.starts_with("\xE2\x80") && !text.starts_with("\xE2\x81")) return false;
  const auto last = text.size() > 2 ? static_cast<unsigned char>(text[2]) : 0U;
  return text[1] == '\x80' ? last >= 0xAA && last <= 0xAE : last >= 0xA6 && last <= 0xA9;
}

}  // namespace

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

std::string shortened(std::string text) {
  if (text.size() <= kMaxDisplayedBytes) return text;
  auto end = kMaxDisplayedBytes;
  while ((static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  text.resize(end);
  return text + "...";
}

std::string displayable(std::string_view text) {
  constexpr std::string_view kReplacement = "\uFFFD";
  std::string result;
  for (std::size_t i = 0; i < text.size() && result.size() <= kMaxDisplayedBytes; ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    const auto next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0;
    if (c == 0xC2 && next >= 0x80 && next <= 0x9F) {  // U+0080 to U+009F
      result += kReplacement;
      ++i;
    } else if (changesDirection(text.substr(i))) {
      result += kReplacement;
      i += 2;
    } else if ((c < 0x20 && c != '\t' && c != '\n') || c == 0x7F) {
      result += kReplacement;
    } else {
      result += text[i];
    }
  }
  return shortened(std::move(result));
}

}  // namespace quorin::wire
