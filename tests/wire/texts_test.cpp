#include "wire/endpoint.h"
#include "wire/text.h"

#include <gmock/gmock.h>

#include <string>

namespace quorin::wire {
namespace {

TEST(Endpoint, WritesAndParsesTheAddressInDottedFormAColonAndThePort) {
  for (const auto& [key, text] : {std::pair{Endpoint{0xC0A8010A, 9000}, "192.168.1.10:9000"},
                                  std::pair{Endpoint{0, 0}, "0.0.0.0:0"},
                                  std::pair{Endpoint{~0U, 65535}, "255.255.255.255:65535"}}) {
    EXPECT_EQ(key.text(), text);
    EXPECT_EQ(Endpoint::parse(text), key);
    EXPECT_EQ(Endpoint::of(key.socketAddress()), key);
  }
}

TEST(Endpoint, ParsesNothingElse) {
  for (const auto* text : {"", ":", "1.2.3.4", "1.2.3.4:", "1.2.3.4:x", "1.2.3.4:1 ", " 1.2.3.4:1",
                           "1.2.3.4:-1", "1.2.3.4:65536", "1.2.3.4:99999999999", "1.2.3:1",
                           "1.2.3.4.5:1", "1.2.3.256:1", "[::1]:1", "localhost:1", "1.2.3.4:1:2"}) {
    EXPECT_EQ(Endpoint::parse(text), std::nullopt) << '"' << text << '"';
  }
}

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

TEST(Displayable, LeavesTextAloneAndTakesTheControlsOut) {
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},
      {"h\u00e9llo, \u4e16\u754c \U0001F3A7", "h\u00e9llo, \u4e16\u754c \U0001F3A7"},
      {"two\nlines\tand a tab", "two\nlines\tand a tab"},
      {"\x1b[2Jgone\a", "\uFFFD[2Jgone\uFFFD"},
      {std::string("a\0b", 3), "a\uFFFDb"},
      {"\u009b2J \u0080 \u00a0", "\uFFFD2J \uFFFD \u00a0"},
      {"\x7f", "\uFFFD"},
      {"\u202Etxt\u2066.\u2069exe\u200D\u2064", "\uFFFDtxt\uFFFD.\uFFFDexe\u200D\u2064"},
  };
  for (const auto& [text, shown] : cases) EXPECT_EQ(displayable(text), shown);
}

TEST(Displayable, IsNeverLongAndNeverCutInsideACharacter) {
  for (std::size_t before = 0; before < 4; ++before) {
    std::string text(before, 'x');
    while (text.size() < 3 * kMaxDisplayedBytes) text += "\U0001F3A7";
    const auto shown = displayable(text);
    EXPECT_LE(shown.size(), kMaxDisplayedBytes + 3);
    EXPECT_TRUE(shown.ends_with("..."));
    EXPECT_TRUE(isValidUtf8(shown)) << before;
  }
  EXPECT_EQ(displayable(std::string(kMaxDisplayedBytes, 'x')),
            std::string(kMaxDisplayedBytes, 'x'));
}

}  // namespace
}  // namespace quorin::wire
