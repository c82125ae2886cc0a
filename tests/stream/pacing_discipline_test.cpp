#include "stream/simulated_stream.h"

#include <gtest/gtest.h>

#include <vector>

namespace quorin::stream {
namespace {

using namespace std::chrono_literals;

constexpr Duration kPipeWireStep{32'000'000 / 3};
#ifdef QUORIN_SANITIZED
constexpr Duration kDay = 1h;  // of a slow clock
#else
constexpr Duration kDay = 24h;
#endif

TEST(PacingDiscipline, LosesNothingOverADayWhateverTheCaptureDoes) {
  const Scene scenes[] = {
      {.name = "one of 400 late", .lateness = oneLate(401, 4500us), .latency = 3100us},
      {.name = "200 ppm fast", .ppm = 200, .latency = 7ms, .length = kDay},
      {.name = "200 ppm slow", .ppm = -200, .latency = 4ms, .length = kDay},
      {.name = "PipeWire, 200 ppm slow", .ppm = -200, .lateness = inBlocksOf(kPipeWireStep)},
      // Sound that comes five chunks at a time cannot wait less.
      {.name = "blocks of 93 ms", .ppm = -50, .lateness = inBlocksOf(93ms), .latency = 96ms},
      {.name = "busy machine",
       .lateness = onABusyMachine(7),
       .mayStarve = 90,
       .latency = 32ms,
       .deviation = 1ms},
      {.name = "often too late for the leeway", .lateness = oneLate(100, 15ms)},
      {.name = "late from some time on",
       .lateness = [](auto i) { return i > 6000 && i % 15 == 0 ? Duration(12ms) : Duration{}; },
       .mayStarve = 9},
  };
  for (const auto& scene : scenes) {
    SCOPED_TRACE(scene.name);
    Stream stream(scene);
    stream.play(1min);
    auto outcome = stream.play(scene.length);
    EXPECT_LE(outcome.starved, scene.mayStarve);
    EXPECT_EQ(outcome.overflowed, 0U);
    EXPECT_LE(milliseconds(outcome.latencyPercentile(0.99)), milliseconds(scene.latency));
    EXPECT_LE(milliseconds(outcome.deviationPercentile(0.99)), milliseconds(scene.deviation));
  }
}

TEST(PacingDiscipline, AlignsWithinHalfASecondWhereverTheTicksBegin) {
  for (Duration phase = 0ms; phase < kChunk; phase += 1ms) {
    SCOPED_TRACE(milliseconds(phase));
    Stream stream({.name = "steady"}, TimePoint{phase});
    stream.play(500ms);
    auto outcome = stream.play(10s);
    EXPECT_EQ(outcome.starved, 0U);
    EXPECT_LE(outcome.deviationPercentile(1), PacingDiscipline::kMaxSlew);
    EXPECT_NEAR(milliseconds(outcome.latencyPercentile(0.5)), 3, 0.1);
  }
}

TEST(PacingDiscipline, ALateChunkDelaysNoOtherLongerThanItMust) {
  const struct {
    Duration late;
    std::vector<Duration> intervals;        ///< those that are not 20 ms
  } cases[] = {{7ms, {24ms, 16ms}},         // waited for
               {11ms, {30ms, 10ms}},        // found halfway to the next tick
               {16ms, {33ms, 7ms}},         // waited for there
               {21ms, {40ms, 10ms, 10ms}},  // its tick is lost
               {45ms, {62ms, 8ms, 10ms, 10ms, 10ms}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(milliseconds(c.late));
    Stream stream(
        {.name = "", .lateness = [&](auto i) { return i == 1010 ? c.late : Duration{}; }});
    stream.play(20s);
    std::vector<Duration> odd;
    for (const auto interval : stream.play(1s).intervals) {
      if (std::chrono::abs(interval - kChunk) > 100us)
        odd.emplace_back(std::chrono::round<std::chrono::milliseconds>(interval));
    }
    EXPECT_EQ(odd, c.intervals);
  }
}

TEST(PacingDiscipline, StaysWhereItIsWhenChunksComeALittleLater) {
  Stream stream({.name = "a program begins to play",
                 .lateness = [](auto i) { return i > 1010 ? Duration(1500us) : Duration{}; }});
  stream.play(20s);
  EXPECT_EQ(stream.play(20s).deviationPercentile(1), 0ms) << "a receiver would buffer each move";
}

/// After `disturb` every look finds a chunk, and a second later the latency is what it was.
void expectRecovery(const Lateness& lateness, const std::function<void(Stream&)>& disturb) {
  Stream stream({.name = "steady", .lateness = lateness});
  stream.play(10s);
  auto before = stream.play(10s);
  disturb(stream);
  stream.play(1s);
  auto after = stream.play(10s);
  EXPECT_EQ(after.starved, 0U);
  EXPECT_LT(milliseconds(after.latencyPercentile(0.99) - before.latencyPercentile(0.99)), 2.1);
}

TEST(PacingDiscipline, IsRightAgainASecondAfterWhateverStoodStill) {
  for (const auto& lateness : {Lateness(atOnce), inBlocksOf(kPipeWireStep)}) {
    for (const Duration pause : {20ms, 40ms, 60ms, 110ms, 300ms, 20'000ms}) {
      SCOPED_TRACE(milliseconds(pause));
      expectRecovery(lateness, [&](Stream& stream) {
        stream.pauseCapture(pause);
        stream.play(pause);
      });
      expectRecovery(lateness, [&](Stream& stream) { stream.pauseTicks(pause); });
    }
    for (Duration beforeTick = 0ms; beforeTick < kChunk; beforeTick += 4ms) {
      SCOPED_TRACE(milliseconds(beforeTick));
      expectRecovery(lateness, [&](Stream& stream) { stream.clearQueue(beforeTick); });
    }
  }
  for (const Duration by : {8ms, 15ms, 30ms, 100ms}) {  // one chunk
    SCOPED_TRACE(milliseconds(by));
    expectRecovery([=](auto i) { return i == 1010 ? by : Duration{}; },
                   [](Stream& stream) { stream.play(500ms); });
  }
}

}  // namespace
}  // namespace quorin::stream
