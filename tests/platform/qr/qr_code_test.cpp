#include "platform/qr/qr_code.h"

#include <gtest/gtest.h>

#include <string>

namespace quorin::qr {
namespace {

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
