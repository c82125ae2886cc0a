#include "platform/qr/qr_code.h"

#include "support/qr_reader.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <vector>

namespace quorin::qr {
namespace {

using ::testing::ElementsAre;

/// Draws the code dark on light with its quiet zone and reads it back.
std::vector<std::string> readBack(const QrMatrix& code) {
  constexpr int kPixelsPerModule = 4;
  const int edge = (code.size() + 2 * kQuietZoneModules) * kPixelsPerModule;
  std::vector<std::uint8_t> pixels;
  for (int y = 0; y < edge; ++y) {
    for (int x = 0; x < edge; ++x) {
      const int column = x / kPixelsPerModule - kQuietZoneModules;
      const int row = y / kPixelsPerModule - kQuietZoneModules;
      const bool inside = column >= 0 && row >= 0 && column < code.size() && row < code.size();
      pixels.push_back(inside && code.isDark(column, row) ? 0 : 255);
    }
  }
  return quorin::testing::readQrCodes({.width = static_cast<unsigned>(edge),
                                       .height = static_cast<unsigned>(edge),
                                       .pixels = pixels});
}

TEST(QrCode, IsReadBackAsTheVeryText) {
  for (const auto correction : {Correction::kL, Correction::kM}) {
    for (const std::string text : {"1.1.1.1:1", "192.168.1.20:9000", "255.255.255.255:65535"}) {
      const auto code = encode(text, correction);
      ASSERT_TRUE(code) << text;
      EXPECT_THAT(readBack(*code), ElementsAre(text));
    }
  }
}

TEST(QrCode, KeepsBytesThatATextWouldEndAt) {
  const std::string bytes("10.0.0.1:9000\0tail", 18);
  EXPECT_NE(encode(bytes, Correction::kL), encode(bytes.substr(0, 13), Correction::kL));
}

TEST(QrCode, RefusesWhatNoCodeHolds) {
  EXPECT_FALSE(encode("", Correction::kL));
  EXPECT_TRUE(encode(std::string(2953, '\x80'), Correction::kL));
  EXPECT_FALSE(encode(std::string(2954, '\x80'), Correction::kL));
  EXPECT_TRUE(encode(std::string(2331, '\x80'), Correction::kM));
  EXPECT_FALSE(encode(std::string(2332, '\x80'), Correction::kM));
}

}  // namespace
}  // namespace quorin::qr
