#include "quorin-listen/jitter_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace quorin::listen {
namespace {

constexpr std::size_t kDatagram = 882;

/// A counting signal, so that a lost or doubled sample shows.
class Playing : public testing::Test {
 protected:
  void arrive(int datagrams) {
    for (int i = 0; i < datagrams; ++i) {
      std::vector<float> samples(kDatagram);
      for (auto& sample : samples) sample = ++written_;
      buffer_.push(samples);
    }
  }
  std::vector<float> play(std::size_t samples) {
    std::vector<float> played(samples, -1);
    buffer_.pull(played);
    return played;
  }

  JitterBuffer buffer_;
  float written_ = 0;
};

bool isSilent(const std::vector<float>& samples) {
  return std::ranges::all_of(samples, [](float sample) { return sample == 0; });
}

TEST_F(Playing, GivesTheSoundUnchangedOnceThreeDatagramsWait) {
  arrive(2);
  EXPECT_TRUE(isSilent(play(500)));
  arrive(1);
  float expected = 0;
  for (int i = 0; i < 100; ++i) {
    for (const float sample : play(441)) ASSERT_EQ(sample, ++expected);
    for (const float sample : play(441)) ASSERT_EQ(sample, ++expected);
    arrive(1);
  }
  EXPECT_EQ(buffer_.timesEmpty(), 0U);
}

TEST_F(Playing, FillsUpAgainAfterItRanEmpty) {
  arrive(3);
  const auto played = play(4 * kDatagram);
  EXPECT_EQ(played[3 * kDatagram - 1], 3 * kDatagram);
  EXPECT_EQ(played[3 * kDatagram], 0);
  EXPECT_EQ(buffer_.timesEmpty(), 1U);
  arrive(2);
  EXPECT_TRUE(isSilent(play(100)));
  arrive(1);
  EXPECT_FALSE(isSilent(play(100)));
}

TEST_F(Playing, CutsABurstBackToTheNewest) {
  arrive(9);
  EXPECT_EQ(buffer_.waiting(), JitterBuffer::kPrimed);
  EXPECT_EQ(play(1).front(), 6 * kDatagram + 1);
}

}  // namespace
}  // namespace quorin::listen
