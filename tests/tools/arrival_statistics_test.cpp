#include "measure/arrival_statistics.h"

#include <gtest/gtest.h>

#include <cmath>

namespace quorin::measure {
namespace {

using namespace std::chrono_literals;

/// Every verdict about pacing is made of these figures.
TEST(ArrivalStatistics, MeasureIntervalsGapsBurstsAndWhatIsWithheld) {
  EXPECT_EQ(ArrivalStatistics().bufferNeededMs(), 0);
  struct Case {
    const char* what;
    int datagrams;
    Nanoseconds (*at)(int);
    double deviation, gaps, delivered;
  };
  const Case cases[] = {
      {"even", 501, [](int i) -> Nanoseconds { return 20ms * i; }, 0, 0, 1},
      {"one 3 ms late", 501, [](int i) -> Nanoseconds { return 20ms * i + (i == 9 ? 3 : 0) * 1ms; },
       3, 0, 1},
      {"a gap of 60 ms", 501,
       [](int i) -> Nanoseconds { return 20ms * i + (i > 9 ? 40 : 0) * 1ms; }, 40, 1, 10.0 / 10.04},
      {"bursts of five", 501, [](int i) -> Nanoseconds { return 100ms * (i / 5); }, 80, 100, 1},
      {"four fifths", 501, [](int i) -> Nanoseconds { return 25ms * i; }, 5, 0, 0.8},
  };
  for (const auto& c : cases) {
    ArrivalStatistics arrivals;
    for (int i = 0; i < c.datagrams; ++i) arrivals.add(c.at(i), 882);
    EXPECT_NEAR(arrivals.deviation().max, c.deviation, 1e-3) << c.what;
    EXPECT_EQ(arrivals.gaps(), c.gaps) << c.what;
    EXPECT_NEAR(arrivals.delivered(), c.delivered, 1e-3) << c.what;
  }
  ArrivalStatistics bursts;
  for (int i = 0; i < 100; ++i) bursts.add(100ms * (i / 5), 882);
  EXPECT_NEAR(bursts.bufferNeededMs(), 80, 1e-3) << "though their mean is on time";
}

}  // namespace
}  // namespace quorin::measure
