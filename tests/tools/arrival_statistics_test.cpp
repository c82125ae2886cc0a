#include "measure/arrival_statistics.h"

#include <gtest/gtest.h>

#include <cmath>

namespace quorin::measure {
namespace {

using namespace std::chrono_literals;

ArrivalStatistics arriving(std::initializer_list<Nanoseconds> times) {
  ArrivalStatistics arrivals;
  for (const auto time : times) arrivals.add(time, 882);
  return arrivals;
}

TEST(ArrivalStatistics, ReadsZeroWithoutADatagram) {
  const ArrivalStatistics arrivals;
  EXPECT_EQ(arrivals.datagrams(), 0U);
  EXPECT_EQ(arrivals.deviation().max, 0);
  EXPECT_EQ(arrivals.bufferNeededMs(), 0);
  EXPECT_EQ(arrivals.delivered(), 0);
}

TEST(ArrivalStatistics, MeasuresEachIntervalAgainstTheSoundInIt) {
  const auto arrivals = arriving({100ms, 120ms, 143ms, 160ms});
  ASSERT_EQ(arrivals.deviationsMs().size(), 3U);
  EXPECT_NEAR(arrivals.deviationsMs()[0], 0, 1e-4);
  EXPECT_NEAR(arrivals.deviationsMs()[1], 3, 1e-4);
  EXPECT_NEAR(arrivals.deviationsMs()[2], -3, 1e-4);
  EXPECT_NEAR(arrivals.deviation().max, 3, 1e-4);
  EXPECT_NEAR(arrivals.soundSeconds(), 0.080, 1e-9);
  EXPECT_NEAR(arrivals.delivered(), 1, 1e-9);
}

TEST(ArrivalStatistics, CountsAGapWhereTwoDatagramsOfBufferWouldNotDo) {
  EXPECT_EQ(arriving({0ms, 20ms, 79ms}).gaps(), 0U);
  EXPECT_EQ(arriving({0ms, 20ms, 80ms, 100ms, 160ms}).gaps(), 2U);
}

TEST(ArrivalStatistics, NeedsABufferForBurstsThoughTheirMeanIsOnTime) {
  ArrivalStatistics bursts;
  for (int i = 0; i < 100; ++i) bursts.add(100ms * (i / 5), 882);
  EXPECT_NEAR(bursts.bufferNeededMs(), 80, 1e-3);
}

TEST(ArrivalStatistics, TellsHowMuchSoundAPeerWithholds) {
  ArrivalStatistics slow;
  for (int i = 0; i < 501; ++i) slow.add(i * 25ms, 882);
  EXPECT_NEAR(slow.delivered(), 0.8, 1e-9);
}

TEST(ArrivalStatistics, RecentMeansTheLastTenSeconds) {
  ArrivalStatistics arrivals;
  arrivals.add(0ms, 882);
  arrivals.add(500ms, 882);
  for (int i = 1; i <= 500; ++i) arrivals.add(500ms + i * 20ms, 882);
  EXPECT_NEAR(arrivals.deviation().max, 480, 1e-3);
  EXPECT_NEAR(arrivals.recentDeviation().max, 0, 1e-3);
}

TEST(Quantile, PicksTheNearestRank) {
  EXPECT_EQ(quantile({5, 1, 3}, 0.5), 3);
  EXPECT_EQ(quantile({5, 1, 3}, 1), 5);
  EXPECT_EQ(quantile({5}, 0.01), 5);
}

}  // namespace
}  // namespace quorin::measure
