#include "stream/simulated_stream.h"

#include <gtest/gtest.h>

#include <utility>

namespace quorin::stream {
namespace {

using namespace std::chrono_literals;

constexpr Duration kPipeWireFragment{32'000'000 / 3};

TEST(PacingDiscipline, LosesNothingOverHoursWhateverTheCaptureDoes) {
  const Scene scenes[] = {
      {.name = "in step", .latency = 3100us},
      {.name = "200 ppm fast", .ppm = 200, .latency = 6ms, .length = 3h},
      {.name = "200 ppm slow", .ppm = -200, .latency = 4ms},
      {.name = "PipeWire, 200 ppm fast", .ppm = 200, .lateness = inBlocksOf(kPipeWireFragment)},
      {.name = "PipeWire, 200 ppm slow", .ppm = -200, .lateness = inBlocksOf(kPipeWireFragment)},
      // Sound that comes five chunks at a time cannot wait less.
      {.name = "blocks of 93 ms", .ppm = -50, .lateness = inBlocksOf(93ms), .latency = 96ms},
      {.name = "uneven fragments", .ppm = -200, .lateness = unevenFragments(2)},
      {.name = "noise", .ppm = -200, .lateness = withNoise(atOnce, 4), .latency = 6ms},
      {.name = "PipeWire with noise", .lateness = withNoise(inBlocksOf(kPipeWireFragment), 5)},
      // Each costs its tick, and for the next half second 20 ms.
      {.name = "twice a minute late", .lateness = oneLate(1511, 15ms), .mayStarve = 700},
      {.name = "often too late for the leeway", .lateness = oneLate(100, 15ms)},
      {.name = "late from some time on",
       .lateness = [](auto i) { return i > 6000 && i % 15 == 0 ? Duration(12ms) : Duration{}; },
       .mayStarve = 50},
      {.name = "lost ticks", .ppm = 100, .lateness = withNoise(atOnce, 6), .ticksLost = true},
  };
  for (const auto& scene : scenes) {
    SCOPED_TRACE(scene.name);
    Stream stream(scene, true, TimePoint{7ms});
    stream.play(1min);
    auto outcome = stream.play(scene.length);
    EXPECT_LE(outcome.starvedOfAMillion(), scene.mayStarve);
    EXPECT_EQ(outcome.overflowed, 0U);
    EXPECT_LE(milliseconds(outcome.percentile(0.99)), milliseconds(scene.latency));
  }
}

TEST(PacingDiscipline, AlignsWithinHalfASecondWhereverTheTicksBegin) {
  for (Duration phase = 0ms; phase < kChunk; phase += 1ms) {
    Stream stream({.name = "steady"}, true, TimePoint{phase});
    stream.play(500ms);
    auto outcome = stream.play(10s);
    EXPECT_EQ(outcome.starved, 0U);
    EXPECT_LE(outcome.largestShift, PacingDiscipline::kMaxSlew);
    EXPECT_NEAR(milliseconds(outcome.percentile(0.5)), milliseconds(PacingDiscipline::kHeadroom),
                0.1)
        << milliseconds(phase);
  }
}

TEST(PacingDiscipline, IsNotMovedByTheOneLatestOfFourHundred) {
  Stream stream({.name = "now and then", .lateness = oneLate(401, 4500us)}, true, TimePoint{7ms});
  stream.play(1min);
  auto outcome = stream.play(1min);
  EXPECT_EQ(outcome.starved, 0U) << "the leeway";
  EXPECT_NEAR(milliseconds(outcome.percentile(0.5)), 3, 0.1);
}

/// After `disturb` no tick goes without a chunk, and a second later the latency is what it was.
void expectRecovery(const Lateness& lateness, const std::function<void(Stream&)>& disturb) {
  Stream stream({.name = "steady", .lateness = lateness}, true, TimePoint{7ms});
  stream.play(10s);
  auto before = stream.play(10s);
  disturb(stream);
  stream.play(1s);
  auto after = stream.play(10s);
  EXPECT_EQ(after.starved, 0U);
  EXPECT_LT(milliseconds(after.percentile(0.99) - before.percentile(0.99)), 2.1);
}

TEST(PacingDiscipline, IsRightAgainASecondAfterWhateverStoodStill) {
  for (const auto& lateness : {Lateness(atOnce), inBlocksOf(kPipeWireFragment)}) {
    for (const Duration pause : {60ms, 300ms, 20'000ms}) {
      SCOPED_TRACE(milliseconds(pause));
      expectRecovery(lateness, [&](Stream& stream) {
        stream.pauseCapture(pause);
        stream.play(pause);
      });
      expectRecovery(lateness, [&](Stream& stream) { stream.pauseTicks(pause); });
    }
  }
  for (const Duration by : {8ms, 15ms, 30ms, 100ms}) {  // one chunk
    SCOPED_TRACE(milliseconds(by));
    expectRecovery([=](auto i) { return i == 1010 ? by : Duration{}; },
                   [](Stream& stream) { stream.play(500ms); });
  }
}

TEST(PacingDiscipline, IsNotMisledByAClearedQueue) {
  for (const auto& lateness : {Lateness(atOnce), inBlocksOf(kPipeWireFragment)}) {
    for (Duration beforeTick = 0ms; beforeTick < kChunk; beforeTick += 4ms) {
      SCOPED_TRACE(milliseconds(beforeTick));
      expectRecovery(lateness, [&](Stream& stream) {
        stream.clearQueue(beforeTick);
        EXPECT_LE(stream.play(5s).largestShift, PacingDiscipline::kMaxSlew);
      });
    }
  }
}

}  // namespace
}  // namespace quorin::stream
