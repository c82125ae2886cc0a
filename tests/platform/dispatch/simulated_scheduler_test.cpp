#include "platform/dispatch/simulated_scheduler.h"

#include <gtest/gtest.h>

#include <vector>

namespace quorin::dispatch {
namespace {

using namespace std::chrono_literals;

TEST(SimulatedScheduler, NothingRunsUntilTimePasses) {
  SimulatedScheduler time;
  int runs = 0;
  time.mainQueue().async([&] { ++runs; });
  const auto timer = time.utilityQueue().makeTimer({.first = 1s, .interval = 1s}, [&] { ++runs; });
  EXPECT_EQ(runs, 0);
  time.runPending();
  EXPECT_EQ(runs, 1);
  time.advance(999ms);
  EXPECT_EQ(runs, 1);
  time.advance(1ms);
  EXPECT_EQ(runs, 2);
}

TEST(SimulatedScheduler, WorkOfAllQueuesRunsAtItsOwnMoment) {
  SimulatedScheduler time;
  const auto start = time.now();
  std::vector<Duration> moments;
  const auto record = [&] { moments.push_back(time.now() - start); };
  const auto queue = time.makeSerialQueue("test");
  queue->asyncAfter(20ms, record);
  time.mainQueue().asyncAfter(10ms, [&] {
    record();
    queue->asyncAfter(5ms, record);
  });
  time.advance(1h);
  EXPECT_EQ(moments, (std::vector<Duration>{10ms, 15ms, 20ms}));
  EXPECT_EQ(time.now() - start, Duration(1h));
}

TEST(SimulatedScheduler, AfterAJumpAnOverdueTimerRunsOnceAndKeepsItsPhase) {
  SimulatedScheduler time;
  const auto wallStart = time.wallNow();
  const auto start = time.now();
  std::vector<Duration> moments;
  const auto timer = time.mainQueue().makeTimer({.first = 1s, .interval = 1s},
                                                [&] { moments.push_back(time.now() - start); });
  time.jump(10500ms, 1h);
  EXPECT_EQ(time.wallNow() - wallStart, Duration(1h));
  time.advance(600ms);
  EXPECT_EQ(moments, (std::vector<Duration>{10500ms, 11s}));
}

}  // namespace
}  // namespace quorin::dispatch
