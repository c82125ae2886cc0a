#include "measure/latency.h"

#include <gmock/gmock.h>

namespace quorin::measure {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::FloatNear;
using testing::IsEmpty;

TEST(TickLatencies, MatchTicksThoughSomeAreMissing) {
  const std::vector<Nanoseconds> played{1000ms, 1200ms, 1400ms, 1600ms};
  const std::vector<Nanoseconds> arrived{1030ms, 1425ms, 1655ms};
  EXPECT_THAT(tickLatenciesMs(played, arrived, 150ms),
              ElementsAre(FloatNear(30, 0.01F), FloatNear(25, 0.01F), FloatNear(55, 0.01F)));
}

TEST(TickLatencies, AreOfTheNearestTickBeforeOrBehindAndOnlyOfWhatHasAPartner) {
  const std::vector<Nanoseconds> played{1000ms, 1200ms};
  EXPECT_THAT(tickLatenciesMs(played, std::vector<Nanoseconds>{1195ms}, 150ms),
              ElementsAre(FloatNear(-5, 0.01F)));
  const std::vector<Nanoseconds> apart{900ms, 1151ms};
  EXPECT_THAT(tickLatenciesMs(std::vector<Nanoseconds>{1000ms}, apart, 150ms), IsEmpty());
  EXPECT_THAT(tickLatenciesMs({}, apart, 150ms), IsEmpty());
}

}  // namespace
}  // namespace quorin::measure
