#include "stream/simulated_stream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>
#include <utility>

namespace quorin::stream {
namespace {

using namespace std::chrono_literals;

constexpr Duration kPipeWireFragment{32'000'000 / 3};

TEST(PacingDiscipline, LosesNothingOverHoursOrADayWhateverTheCaptureDoes) {
  const Scene scenes[] = {
      {.name = "in step", .ppm = 0, .length = 24h},
      {.name = "200 ppm fast", .ppm = 200, .length = 24h},
      {.name = "200 ppm slow", .ppm = -200, .length = 24h},
      {"PipeWire, 200 ppm fast", 200, inBlocksOf(kPipeWireFragment)},
      {"PipeWire, 200 ppm slow", -200, inBlocksOf(kPipeWireFragment)},
      {"blocks of 46 ms, 50 ppm fast", 50, inBlocksOf(46ms)},
      // Sound that comes five chunks at a time cannot wait less.
      {.name = "blocks of 93 ms, 50 ppm slow",
       .ppm = -50,
       .lateness = inBlocksOf(93ms),
       .meanWaitingAtMost = 3},
      {"uneven fragments, 200 ppm fast", 200, unevenFragments(1)},
      {"uneven fragments, 200 ppm slow", -200, unevenFragments(2)},
      {"noise, 200 ppm slow", -200, withNoise(atOnce, 4), false, 4},
      {"PipeWire with noise", 10, withNoise(inBlocksOf(kPipeWireFragment), 5), false, 4},
      // Each costs its tick, and nothing afterwards.
      {.name = "a chunk late twice a minute",
       .ppm = 0,
       .lateness = oneLate(1511, 15ms),
       .mayStarve = 360},
      // Those that keep coming get room.
      {"one of 40 late by 6 ms", 0, oneLate(40, 6ms)},
      {"one of 100 late by 15 ms", 0, oneLate(100, 15ms)},
      {"one of 301 late by 15 ms", 0, oneLate(301, 15ms)},
      {.name = "one of 15 late by 12 ms, in time",
       .ppm = 0,
       .lateness = [](auto i) { return i > 6000 && i % 15 == 0 ? Duration(12ms) : Duration{}; },
       .mayStarve = 2},
      {"lost ticks, 100 ppm fast", 100, withNoise(atOnce, 6), true, 4},
      {"lost ticks, uneven fragments", -100, unevenFragments(7), true},
  };
  for (const auto& scene : scenes) {
    SCOPED_TRACE(scene.name);
    Stream stream(scene, true, TimePoint{7ms});
    stream.play(1min);
    auto outcome = stream.play(scene.length);
    EXPECT_LE(outcome.starved, scene.mayStarve);
    EXPECT_EQ(outcome.cut, 0U);
    EXPECT_LE(outcome.meanWaiting, scene.meanWaitingAtMost);
    EXPECT_LT(outcome.percentile(0.99) - outcome.percentile(0.01), 6ms) << "steady";
  }
}

TEST(PacingDiscipline, AlignsWithinASecondOfTheStartWhereverTheTicksBegin) {
  for (Duration phase = 0ms; phase < kChunk; phase += 1ms) {
    Stream stream({"steady", 0}, true, TimePoint{phase});
    EXPECT_LE(stream.play(1s).largestShift, PacingDiscipline::kLeeway);
    auto outcome = stream.play(10s);
    EXPECT_EQ(outcome.starved, 0U);
    EXPECT_NEAR(milliseconds(outcome.percentile(0.5)), milliseconds(PacingDiscipline::kHeadroom),
                0.1)
        << milliseconds(phase);
  }
}

TEST(PacingDiscipline, KeepsTheTicksApartByAlmostExactlyAChunk) {
  Stream stream({"PipeWire", 200, inBlocksOf(kPipeWireFragment)}, true, TimePoint{7ms});
  stream.play(5s);
  EXPECT_LE(stream.play(1h).largestShift, PacingDiscipline::kMaxSlew);
}

TEST(PacingDiscipline, IsNotMovedByTheTwoLatestInAHundred) {
  for (const auto& [of, by, latency] : {std::tuple{51U, Duration(2500us), 3ms},
                                        // Too late for the headroom, which grows to them.
                                        std::tuple{130U, Duration(4500us), 5ms}}) {
    Stream stream({"now and then", 0, oneLate(of, by)}, true, TimePoint{7ms});
    stream.play(1min);
    auto outcome = stream.play(1min);
    EXPECT_EQ(outcome.starved, 0U);
    EXPECT_NEAR(milliseconds(outcome.percentile(0.5)), milliseconds(latency), 0.1);
  }
}

TEST(PacingDiscipline, TakesBackTheRoomOfChunksThatComeLateNoMore) {
  const auto often = oneLate(100, 15ms);
  const auto little = oneLate(51, 2500us);
  Stream stream({"late for a minute", 0, [&](auto i) { return (i < 3000 ? often : little)(i); }},
                true, TimePoint{7ms});
  EXPECT_GT(stream.play(1min).percentile(0.9), 15ms) << "room";
  stream.play(20s);
  EXPECT_LT(stream.play(20s).percentile(0.99), PacingDiscipline::kMaxHeadroom + 250us);
  stream.play(5min);
  EXPECT_NEAR(milliseconds(stream.play(20s).percentile(0.5)), 3, 0.3);
}

TEST(PacingDiscipline, LetsAPauseOfTheCaptureCostNoLatencyAfterwards) {
  for (const auto& [lateness, more] :
       {std::pair(Lateness(atOnce), 0U), std::pair(inBlocksOf(kPipeWireFragment), 1U)}) {
    for (const Duration pause : {15ms, 60ms, 300ms, 5000ms}) {
      Stream stream({"steady", 0, lateness}, true, TimePoint{7ms});
      stream.play(10s);
      auto before = stream.play(10s);
      stream.pauseCapture(pause);
      const auto ticksWithin = static_cast<std::uint64_t>((pause + kChunk - 1ns) / kChunk);
      EXPECT_LE(stream.play(pause + 2s).starved, ticksWithin + more) << milliseconds(pause);
      auto outcome = stream.play(10s);
      EXPECT_EQ(outcome.starved, 0U) << milliseconds(pause);
      EXPECT_LT(milliseconds(outcome.percentile(0.99) - before.percentile(0.99)), 2.1)
          << milliseconds(pause);
    }
  }
}

TEST(PacingDiscipline, LetsChunksThatWereHeldUpCostNoLatencyAfterwards) {
  for (const auto& [chunk, latency] : {std::pair{15U, 3.1}, {1000U, 4.1}}) {  // learning, and later
    for (const Duration by : {8ms, 15ms, 30ms, 38ms, 60ms, 100ms}) {
      Stream stream(
          {"held up", 0, [held = chunk, by](auto i) { return i == held ? by : Duration{}; }}, true,
          TimePoint{7ms});
      stream.play(kChunk * chunk + 1s);
      auto outcome = stream.play(10s);
      EXPECT_EQ(outcome.starved, 0U) << milliseconds(by);
      EXPECT_LT(milliseconds(outcome.percentile(0.99)), latency)
          << chunk << ' ' << milliseconds(by);
    }
  }
}

TEST(PacingDiscipline, IsHardlyMovedByACutAfterTicksThatTheMachineLost) {
  PacingDiscipline discipline;
  Duration moved{};
  const auto play = [&](int chunks) {
    auto furthest = moved;
    for (int i = 0; i < chunks; ++i) {
      moved += discipline.sent(PacingDiscipline::kHeadroom + moved);
      furthest = std::max(furthest, moved);
    }
    return furthest;
  };
  play(400);
  EXPECT_EQ(moved, 0ms);
  discipline.cut(8);
  EXPECT_LE(play(100), PacingDiscipline::kHeadroom);
  play(1000);
  EXPECT_NEAR(static_cast<double>(moved.count()), 0, 500e3);
}

TEST(PacingDiscipline, IsNotMisledByAClearedQueue) {
  const struct {
    const char* name;
    Lateness lateness;
    Duration largestShift;
  } cases[] = {{"steady", atOnce, PacingDiscipline::kMaxSlew},
               {"PipeWire", inBlocksOf(kPipeWireFragment), PacingDiscipline::kMaxSlew},
               {"blocks of 93 ms", inBlocksOf(93ms), PacingDiscipline::kLeeway}};
  for (const auto& row : cases) {
    for (const Duration playedBefore : {2s, 30s}) {  // room is given soon after a start
      for (Duration beforeTick = 0ms; beforeTick < kChunk; beforeTick += 1ms) {
        SCOPED_TRACE(row.name);
        SCOPED_TRACE(milliseconds(beforeTick));
        Stream stream({row.name, 0, row.lateness}, true, TimePoint{7ms});
        stream.play(playedBefore);
        auto before = stream.play(5s);
        stream.clearQueue(beforeTick);
        auto joining = stream.play(5s);
        EXPECT_LE(joining.starved, 5U);
        EXPECT_LE(joining.largestShift, row.largestShift);
        auto after = stream.play(10s);
        EXPECT_EQ(after.starved, 0U);
        EXPECT_NEAR(milliseconds(after.percentile(0.5)), milliseconds(before.percentile(0.5)), 2);
      }
    }
  }
}

}  // namespace
}  // namespace quorin::stream
