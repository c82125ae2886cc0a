#include "platform/audio/format.h"
#include "platform/audio/reblocker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

namespace quorin::audio {
namespace {

TEST(WholeBlockFrames, AreNoneWhereTheRatesShareNoShortBlock) {
  for (const unsigned rate : {44056U, 47999U, 1U, 0U}) {
    EXPECT_EQ(wholeBlockFrames(rate, 882, 44100), std::nullopt) << rate;
  }
}

TEST(Reblocker, CutsPiecesOfAnySizeIntoBlocksOfOne) {
  std::vector<float> count(10'000);
  std::iota(count.begin(), count.end(), 1.0F);
  for (const std::size_t piece : {1U, 7U, 480U, 960U, 961U, 5000U, 10'000U}) {
    Reblocker reblocker(960);
    std::vector<float> output;
    for (std::size_t at = 0; at < count.size(); at += piece) {
      const auto size = std::min(piece, count.size() - at);
      reblocker.push(std::span(count).subspan(at, size), [&](std::span<const float> block) {
        EXPECT_EQ(block.size(), 960U);
        output.insert(output.end(), block.begin(), block.end());
      });
      EXPECT_EQ(output.size(), (at + size) / 960 * 960) << piece;
    }
    EXPECT_TRUE(std::equal(output.begin(), output.end(), count.begin())) << piece;
  }
}

TEST(Reblocker, AHoleIsSilenceOfItsLength) {
  Reblocker reblocker(4);
  std::vector<float> output;
  const auto deliver = [&](std::span<const float> block) {
    output.insert(output.end(), block.begin(), block.end());
  };
  reblocker.push(std::vector<float>{1, 2, 3}, deliver);
  reblocker.pushSilence(6, deliver);
  reblocker.push(std::vector<float>{4, 5, 6, 7}, deliver);
  EXPECT_EQ(output, (std::vector<float>{1, 2, 3, 0, 0, 0, 0, 0, 0, 4, 5, 6}));

  reblocker.clear();
  reblocker.push(std::vector<float>{8, 9, 10, 11}, deliver);
  EXPECT_EQ(output.back(), 11);
}

}  // namespace
}  // namespace quorin::audio
