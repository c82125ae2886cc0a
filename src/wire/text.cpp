#include "wire/text.h"

#include <algorithm>
#include <bit>
#include <optional>
#include <utility>

namespace quorin::wire {
namespace {

struct Character {
  char32_t code = 0;
  std::size_t length = 1;  ///< in bytes
};

/// The first character; none where the text is not well-formed.
std::optional<Character> firstOf(std::string_view bytes) {
  constexpr char32_t kFirstOfLength[] = {0, 0, 0x80, 0x800, 0x10000};
  const auto lead = static_cast<unsigned char>(bytes[0]);
  const int ones = std::countl_one(lead);
  const auto length = static_cast<std::size_t>(std::max(ones, 1));
  if (ones == 1 || ones > 4 || length > bytes.size()) return std::nullopt;
  char32_t code = lead & (0x7FU >> static_cast<unsigned>(ones));
  for (const char c : bytes.substr(1, length - 1)) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0U) != 0x80) return std::nullopt;
    code = code << 6U | (byte & 0x3FU);
  }
  const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < kFirstOfLength[length] || code > 0x10FFFF || isSurrogate) return std::nullopt;
  return Character{code, length};
}

/// Controls a terminal, or changes the direction of the text that follows.
bool isUnsafe(char32_t code) {
  return (code < 0x20 && code != '\t' && code != '\n') || (code >= 0x7F && code <= 0x9F) ||
         (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

}  // namespace

bool isValidUtf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto character = firstOf(bytes);
    if (!character) return false;
    bytes.remove_prefix(character->length);
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
  std::string result;
  while (!text.empty() && result.size() <= kMaxDisplayedBytes) {
    const auto [code, length] = firstOf(text).value_or(Character());
    result += isUnsafe(code) ? "\uFFFD" : text.substr(0, length);
    text.remove_prefix(length);
  }
  return shortened(std::move(result));
}

}  // namespace quorin::wire
