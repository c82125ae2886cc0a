#include "wire/control_message.h"

#include <gtest/gtest.h>

#include <string>

namespace quorin::wire {
namespace {

std::string bytes(std::initializer_list<unsigned> values) {
  std::string result;
  for (const auto value : values) result.push_back(static_cast<char>(value));
  return result;
}

TEST(Utf8, IsWellFormedOrRefused) {
  const struct {
    const char* name;
    std::string text;
    bool valid;
  } cases[] = {
      {"NUL", std::string("a\0b", 3), true},
      {"first and last of two bytes", bytes({0xC2, 0x80, 0xDF, 0xBF}), true},
      {"first and last of three bytes", bytes({0xE0, 0xA0, 0x80, 0xEF, 0xBF, 0xBF}), true},
      {"first behind the surrogates", bytes({0xEE, 0x80, 0x80}), true},
      {"first of four bytes", bytes({0xF0, 0x90, 0x80, 0x80}), true},
      {"U+10FFFF", bytes({0xF4, 0x8F, 0xBF, 0xBF}), true},
      {"mixed", "\xC3\xB1 \xE2\x9C\x85 \xF0\x9F\x93\xB1 x", true},
      {"lone continuation", bytes({0x80}), false},
      {"overlong NUL", bytes({0xC0, 0x80}), false},
      {"overlong in three bytes", bytes({0xE0, 0x9F, 0xBF}), false},
      {"overlong in four bytes", bytes({0xF0, 0x8F, 0xBF, 0xBF}), false},
      {"first surrogate", bytes({0xED, 0xA0, 0x80}), false},
      {"above U+10FFFF", bytes({0xF4, 0x90, 0x80, 0x80}), false},
      {"lead byte of no sequence", bytes({0xF5, 0x80, 0x80, 0x80}), false},
      {"three bytes cut after two", bytes({'a', 0xE2, 0x9C}), false},
      {"four bytes cut after three", bytes({0xF0, 0x9F, 0x93}), false},
      {"third byte is no continuation", bytes({0xE2, 0x9C, 'x'}), false},
      {"fourth byte is no continuation", bytes({0xF0, 0x9F, 0x93, 0xC0}), false},
      {"rubbish behind a token", "<<HELLO>>" + bytes({0xFE}), false},
  };
  for (const auto& [name, text, valid] : cases) EXPECT_EQ(isValidUtf8(text), valid) << name;
}

}  // namespace
}  // namespace quorin::wire
