#include "wire/control_message.h"

namespace quorin::wire {
namespace {

struct SequenceRule {
  unsigned char leadFirst, leadLast;  ///< range of the first byte
  unsigned char secondFirst,
      secondLast;  ///< narrower for the second byte: no overlong, no surrogate
  std::size_t length;
};

// The well-formed multi-byte sequences of the Unicode standard, table 3-7.
constexpr SequenceRule kSequences[] = {
    {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3}, {0xE1, 0xEC, 0x80, 0xBF, 3},
    {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3}, {0xF0, 0xF0, 0x90, 0xBF, 4},
    {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
};

const SequenceRule* ruleFor(unsigned char lead) {
  for (const auto& rule : kSequences) {
    if (lead >= rule.leadFirst && lead <= rule.leadLast) return &rule;
  }
  return nullptr;
}

}  // namespace

bool isValidUtf8(std::string_view bytes) {
  std::size_t i = 0;
  while (i < bytes.size()) {
    const auto byteAt = [&](std::size_t at) { return static_cast<unsigned char>(bytes[at]); };
    if (byteAt(i) < 0x80) {
      ++i;
      continue;
    }
    const auto* rule = ruleFor(byteAt(i));
    if (rule == nullptr || bytes.size() - i < rule->length) return false;
    if (byteAt(i + 1) < rule->secondFirst || byteAt(i + 1) > rule->secondLast) return false;
    for (std::size_t k = 2; k < rule->length; ++k) {
      if ((byteAt(i + k) & 0xC0U) != 0x80) return false;
    }
    i += rule->length;
  }
  return true;
}

}  // namespace quorin::wire
