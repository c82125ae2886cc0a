#include "wire/control_message.h"

#include <gtest/gtest.h>

#include <string>

namespace quorin::wire {
namespace {

using namespace std::string_view_literals;

std::string bytes(std::initializer_list<unsigned> values) {
  std::string result;
  for (const auto value : values) result.push_back(static_cast<char>(value));
  return result;
}

TEST(ControlMessages, AreTheseBytes) {
  EXPECT_EQ(kHello, bytes({0x3C, 0x3C, 'H', 'E', 'L', 'L', 'O', 0x3E, 0x3E}));
  EXPECT_EQ(kPing, bytes({0x3C, 0x3C, 'P', 'I', 'N', 'G', 0x3E, 0x3E}));
  EXPECT_EQ(kStop, bytes({0x3C, 0x3C, 'S', 'T', 'O', 'P', 0x3E, 0x3E}));
  EXPECT_EQ(kReady, bytes({0x3C, 0x3C, 'R', 'E', 'A', 'D', 'Y', 0x3E, 0x3E}));
  EXPECT_EQ(kPong, bytes({0x3C, 0x3C, 'P', 'O', 'N', 'G', 0x3E, 0x3E}));
  EXPECT_EQ(kBusy, bytes({0x3C, 0x3C, 'B', 'U', 'S', 'Y', 0x3E, 0x3E}));
  EXPECT_EQ(kFormat, "<<FORMAT:SR=44100,DEPTH=16,ENDIAN=LITTLE,CH=1,CHUNK=882>>");
}

struct Utf8Case {
  const char* name;
  std::string text;
};

TEST(Utf8, AcceptsEveryWellFormedSequence) {
  const Utf8Case cases[] = {
      {"nothing", ""},
      {"ASCII", "<<HELLO>>\n"},
      {"NUL", std::string("a\0b", 3)},
      {"first and last of two bytes", bytes({0xC2, 0x80, 0xDF, 0xBF})},
      {"first and last of three bytes", bytes({0xE0, 0xA0, 0x80, 0xEF, 0xBF, 0xBF})},
      {"last before the surrogates", bytes({0xED, 0x9F, 0xBF})},
      {"first behind the surrogates", bytes({0xEE, 0x80, 0x80})},
      {"first of four bytes", bytes({0xF0, 0x90, 0x80, 0x80})},
      {"U+10FFFF", bytes({0xF4, 0x8F, 0xBF, 0xBF})},
      {"mixed", "\xC3\xB1 \xE2\x9C\x85 \xF0\x9F\x93\xB1 x"},
  };
  for (const auto& [name, text] : cases) EXPECT_TRUE(isValidUtf8(text)) << name;
}

TEST(Utf8, RefusesEverythingElse) {
  const Utf8Case cases[] = {
      {"lone continuation", bytes({0x80})},
      {"lone continuation at the end of the range", bytes({0xBF})},
      {"overlong NUL", bytes({0xC0, 0x80})},
      {"overlong in two bytes", bytes({0xC1, 0xBF})},
      {"overlong in three bytes", bytes({0xE0, 0x9F, 0xBF})},
      {"overlong in four bytes", bytes({0xF0, 0x8F, 0xBF, 0xBF})},
      {"first surrogate", bytes({0xED, 0xA0, 0x80})},
      {"last surrogate", bytes({0xED, 0xBF, 0xBF})},
      {"above U+10FFFF", bytes({0xF4, 0x90, 0x80, 0x80})},
      {"lead byte of no sequence", bytes({0xF5, 0x80, 0x80, 0x80})},
      {"five bytes", bytes({0xF8, 0x88, 0x80, 0x80, 0x80})},
      {"0xFF", bytes({0xFF})},
      {"two bytes cut after one", bytes({0xC3})},
      {"three bytes cut after two", bytes({'a', 0xE2, 0x9C})},
      {"four bytes cut after three", bytes({0xF0, 0x9F, 0x93})},
      {"third byte is no continuation", bytes({0xE2, 0x9C, 'x'})},
      {"fourth byte is no continuation", bytes({0xF0, 0x9F, 0x93, 0xC0})},
      {"sequence interrupted by ASCII", bytes({0xC3, 'x'})},
      {"rubbish behind a token", "<<HELLO>>" + bytes({0xFE})},
  };
  for (const auto& [name, text] : cases) EXPECT_FALSE(isValidUtf8(text)) << name;
}

}  // namespace
}  // namespace quorin::wire
