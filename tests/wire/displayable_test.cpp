#include "wire/displayable.h"

#include "wire/control_message.h"

#include <gtest/gtest.h>

namespace quorin::wire {
namespace {

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
