#include "wire/audio_chunk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace quorin::wire {
namespace {

using testing::ElementsAre;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

TEST(Pcm16, ClipsScalesRoundsToEvenAndSilencesNaN) {
  constexpr float kHalf = 0.5F / 32767;
  const float samples[] = {1.5F,   1.0F,        -1.0F,     -2.0F,      0.0F,
                           kNaN,   -kNaN,       kInfinity, -kInfinity, -0.0F,
                           1e-42F, 512 * kHalf, kHalf,     3 * kHalf,  -3 * kHalf};
  std::int16_t out[15];
  convertToPcm16(samples, out);
  EXPECT_THAT(
      out, ElementsAre(32767, 32767, -32767, -32767, 0, 0, 0, 32767, -32767, 0, 0, 256, 0, 2, -2));
}

}  // namespace
}  // namespace quorin::wire
