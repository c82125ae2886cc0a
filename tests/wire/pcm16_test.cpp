#include "wire/audio_chunk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <vector>

namespace quorin::wire {
namespace {

using testing::ElementsAre;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// The rule as it reads, for comparison.
std::int16_t reference(float x) {
  if (std::isnan(x)) return 0;
  if (x > 1.0F) x = 1.0F;
  if (x < -1.0F) x = -1.0F;
  const float scaled = x * 32767.0F;
  const float below = std::floor(scaled);
  const float fraction = scaled - below;
  const auto lower = static_cast<int>(below);
  if (fraction < 0.5F) return static_cast<std::int16_t>(lower);
  if (fraction > 0.5F) return static_cast<std::int16_t>(lower + 1);
  return static_cast<std::int16_t>(lower % 2 == 0 ? lower : lower + 1);
}

TEST(Pcm16, ClipsScalesRoundsAndSilencesNaN) {
  const float samples[] = {1.5F,  1.0F,      -1.0F,      -2.0F, 0.0F,   kNaN,
                           -kNaN, kInfinity, -kInfinity, -0.0F, 1e-42F, 256.0F / 32767.0F};
  std::int16_t out[12];
  convertToPcm16(samples, out);
  EXPECT_THAT(out, ElementsAre(32767, 32767, -32767, -32767, 0, 0, 0, 32767, -32767, 0, 0, 256));
}

TEST(Pcm16, AgreesWithTheReferenceOverAllFloatsAndAroundEveryHalf) {
  std::vector<float> samples;
  for (std::uint64_t pattern = 0; pattern <= 0xFFFFFFFF; pattern += 4099) {
    samples.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(pattern)));
  }
  for (int k = -32767; k < 32767; ++k) {
    const float half = (static_cast<float>(k) + 0.5F) / 32767.0F;  // many of these are exact
    for (float near : {std::nextafter(half, -2.0F), half, std::nextafter(half, 2.0F)}) {
      samples.push_back(near);
    }
  }
  std::vector<std::int16_t> out(samples.size());
  convertToPcm16(samples, out);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    ASSERT_EQ(out[i], reference(samples[i])) << "sample " << samples[i];
  }
}

}  // namespace
}  // namespace quorin::wire
