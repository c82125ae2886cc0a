#include "wire/displayable.h"

#include <utility>

namespace quorin::wire {

namespace {

/// U+202A to U+202E and U+2066 to U+2069: what follows would be shown in another order.
bool turnsText(std::string_view text) {
  if (!text.starts_with("\xE2\x80") && !text.starts_with("\xE2\x81")) return false;
  const auto last = text.size() > 2 ? static_cast<unsigned char>(text[2]) : 0U;
  return text[1] == '\x80' ? last >= 0xAA && last <= 0xAE : last >= 0xA6 && last <= 0xA9;
}

}  // namespace

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
    } else if (turnsText(text.substr(i))) {
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
