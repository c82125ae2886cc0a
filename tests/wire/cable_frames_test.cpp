#include "wire/cable_frames.h"

#include "support/bytes.h"

#include <gtest/gtest.h>

namespace quorin::wire {
namespace {

using test::Bytes;
using test::bytes;
using test::bytesOf;
using test::operator+;

TEST(CableText, IsReadWithinItsPayloadOnly) {
  const struct {
    const char* name;
    Bytes payload;
    std::expected<std::string_view, TextError> text;
  } cases[] = {
      {"a text", bytes({0, 0, 0, 5}) + bytesOf("hello"), "hello"},
      {"an empty one", bytes({0, 0, 0, 0}), ""},
      {"more bytes than text", bytes({0, 0, 0, 2}) + bytesOf("hello"), "he"},
      {"nothing", {}, std::unexpected(TextError::kTooShort)},
      {"half a length", bytes({0, 0, 0}), std::unexpected(TextError::kTooShort)},
      {"a byte missing", bytes({0, 0, 0, 6}) + bytesOf("hello"),
       std::unexpected(TextError::kLengthTooLarge)},
      {"the largest length", bytes({255, 255, 255, 255}) + bytesOf("hello"),
       std::unexpected(TextError::kLengthTooLarge)},
      {"Latin-1", bytes({0, 0, 0, 1, 0xF1}), std::unexpected(TextError::kNotUtf8)},
      {"a cut character", bytes({0, 0, 0, 1, 0xC3, 0xB1}), std::unexpected(TextError::kNotUtf8)},
  };
  for (const auto& row : cases) {
    const auto text = decodeText(row.payload);
    EXPECT_EQ(text, row.text) << row.name;
    EXPECT_TRUE(text || !describe(text.error()).empty()) << row.name;
  }
}

}  // namespace
}  // namespace quorin::wire
