#include "wifi/pacing_discipline.h"

#include "wifi/audio_frame_queue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <iomanip>
#include <iostream>
#include <random>
#include <vector>

namespace quorin::wifi {
namespace {

using namespace std::chrono_literals;
using dispatch::Duration;
using dispatch::TimePoint;

constexpr Duration kChunk = wire::kChunkDuration;

double milliseconds(Duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

/// How long after its last sample a chunk reaches the sender.
using Lateness = std::function<Duration(std::uint64_t chunk)>;

Duration atOnce(std::uint64_t) {
  return {};
}

/// The audio server delivers in blocks, and a chunk arrives with the block that completes it.
Lateness inBlocksOf(Duration block) {
  return [block](std::uint64_t chunk) {
    const auto complete = kChunk * static_cast<Duration::rep>(chunk);
    const auto blocks = (complete + block - 1ns) / block;
    return blocks * block - complete;
  };
}

/// Threads are late by a little nearly always, by much now and then.
Lateness withNoise(Lateness base, unsigned seed) {
  return [base = std::move(base), random = std::mt19937(seed)](std::uint64_t chunk) mutable {
    const double usual = std::exponential_distribution<>(1 / 0.1)(random);
    const double rare = random() % 500 == 0 ? std::uniform_real_distribution<>(0, 4)(random) : 0;
    return base(chunk) +
           std::chrono::round<Duration>(std::chrono::duration<double, std::milli>(usual + rare));
  };
}

/// PulseAudio with fragments of 10 ms: gaps of up to 21 ms, without a rhythm.
Lateness unevenFragments(unsigned seed) {
  return [random = std::mt19937(seed)](std::uint64_t) mutable {
    return Duration(
        std::uniform_int_distribution<Duration::rep>(0, Duration(11ms).count())(random));
  };
}

struct Scene {
  const char* name;
  double ppm;  ///< how much faster than the sender's clock the capture runs
  Lateness lateness = atOnce;
  bool ticksLost = false;        ///< once in ten minutes the machine stands still for three ticks
  std::uint64_t mayStarve = 0;   ///< what noise costs until the headroom has grown to it
  double meanWaitingAtMost = 2;  ///< chunks
  Duration length = 3h;
};

struct Outcome {
  std::uint64_t starved = 0;
  std::uint64_t cut = 0;
  double meanWaiting = 0;         ///< chunks in the queue as a tick begins
  Duration largestShift{0};       ///< of one tick
  std::vector<Duration> latency;  ///< from the last sample to the send, once a second

  Duration percentile(double p) {
    const auto at = latency.begin() + std::lround(p * static_cast<double>(latency.size() - 1));
    std::nth_element(latency.begin(), at, latency.end());
    return *at;
  }
};

/// A capture and a send timer with the real queue between them. Without a scheduler: chunks and
/// ticks are merged by their times, and a day takes a second.
class Stream {
 public:
  Stream(const Scene& scene, bool disciplined, TimePoint firstTick)
      : scene_(scene), disciplined_(disciplined), tick_(firstTick) {
    prepareNext();
  }

  /// Plays on and tells what happened meanwhile.
  Outcome play(Duration length) {
    Outcome outcome;
    const auto end = tick_ + length;
    std::uint64_t ticks = 0;
    std::uint64_t waiting = 0;
    while (tick_ < end) {
      for (; arriving_.arrived <= tick_; prepareNext()) {
        const auto removed = queue_.append(arriving_);
        if (removed > 0) discipline_.dropped(removed);
        outcome.cut += removed;
      }
      waiting += queue_.size();

      Duration shift{0};
      if (const auto* chunk = queue_.takeOldest()) {
        if (++ticks % 50 == 0) outcome.latency.push_back(latencyOf(*chunk));
        shift = discipline_.sent(tick_ - chunk->arrived);
      } else {
        discipline_.starved();
        ++outcome.starved;
      }
      outcome.largestShift = std::max(outcome.largestShift, Duration(std::abs(shift.count())));
      if (disciplined_) tick_ += shift;
      tick_ += scene_.ticksLost && ticks % 30'000 == 0 ? 4 * kChunk : kChunk;
    }
    outcome.meanWaiting = static_cast<double>(waiting) / static_cast<double>(ticks);
    return outcome;
  }

  void clearQueue() { discipline_.dropped(queue_.clear()); }
  void pauseCapture(Duration duration) { paused_ += duration; }

 private:
  void prepareNext() {
    ++chunk_;
    const auto nanoseconds = 20e6 * static_cast<double>(chunk_) / (1 + scene_.ppm * 1e-6);
    const auto complete = TimePoint{Duration(std::llround(nanoseconds))} + paused_;
    arriving_.arrived = std::max(complete + scene_.lateness(chunk_), arriving_.arrived);
    arriving_.samples[0] = static_cast<float>(milliseconds(arriving_.arrived - complete));
  }

  Duration latencyOf(const TimedChunk& chunk) const {
    const std::chrono::duration<double, std::milli> lateness(chunk.samples[0]);
    return tick_ - chunk.arrived + std::chrono::round<Duration>(lateness);
  }

  Scene scene_;
  bool disciplined_;
  TimePoint tick_;
  AudioFrameQueue queue_;
  PacingDiscipline discipline_;
  TimedChunk arriving_{};
  std::uint64_t chunk_ = 0;
  Duration paused_{0};
};

void print(const char* timer, const Scene& scene, Outcome& outcome) {
  std::cout << std::left << std::setw(12) << timer << std::setw(34) << scene.name << std::right
            << std::fixed << std::setprecision(2) << "starved " << std::setw(4) << outcome.starved
            << "  cut " << std::setw(4) << outcome.cut << "  waiting " << outcome.meanWaiting
            << "  latency p1 " << milliseconds(outcome.percentile(0.01)) << " p50 "
            << milliseconds(outcome.percentile(0.5)) << " p99 "
            << milliseconds(outcome.percentile(0.99)) << " ms\n";
}

Outcome playLong(const Scene& scene, bool disciplined) {
  Stream stream(scene, disciplined, TimePoint{7ms});
  stream.play(1min);
  auto outcome = stream.play(scene.length);
  print(disciplined ? "disciplined" : "plain", scene, outcome);
  return outcome;
}

TEST(PacingDiscipline, LosesNothingOverHoursOrADayWhateverTheCaptureDoes) {
  constexpr Duration kPipeWireFragment{32'000'000 / 3};
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
      {"lost ticks, 100 ppm fast", 100, withNoise(atOnce, 6), true, 4},
      {"lost ticks, uneven fragments", -100, unevenFragments(7), true},
  };
  for (const auto& scene : scenes) {
    SCOPED_TRACE(scene.name);
    auto outcome = playLong(scene, true);
    EXPECT_LE(outcome.starved, scene.mayStarve);
    EXPECT_EQ(outcome.cut, 0U);
    EXPECT_LE(outcome.meanWaiting, scene.meanWaitingAtMost);
    EXPECT_LT(outcome.percentile(0.99) - outcome.percentile(0.01), 6ms) << "steady";
  }
}

TEST(PacingDiscipline, IsNeededBecauseAPlainTimerStarvesOrCuts) {
  EXPECT_GT(playLong({"200 ppm fast", 200}, false).cut, 90U);
  EXPECT_GT(playLong({"200 ppm slow", -200}, false).starved, 90U);
}

TEST(PacingDiscipline, AlignsWithinASecondOfTheStartWhereverTheTicksBegin) {
  for (Duration phase = 0ms; phase < kChunk; phase += 1ms) {
    Stream stream({"steady", 0}, true, TimePoint{phase});
    EXPECT_LE(stream.play(1s).largestShift, PacingDiscipline::kMaxStep);
    auto outcome = stream.play(10s);
    EXPECT_EQ(outcome.starved, 0U);
    EXPECT_NEAR(milliseconds(outcome.percentile(0.5)), 2.0, 0.1) << milliseconds(phase);
  }
}

TEST(PacingDiscipline, KeepsTheTicksApartByAlmostExactlyAChunk) {
  Stream stream({"PipeWire", 200, inBlocksOf(Duration(32'000'000 / 3))}, true, TimePoint{7ms});
  stream.play(5s);
  EXPECT_LE(stream.play(1h).largestShift, PacingDiscipline::kMaxSlew);
}

TEST(PacingDiscipline, LetsAPauseOfTheCaptureCostNoLatencyAfterwards) {
  for (const Duration pause : {15ms, 60ms, 300ms, 5000ms}) {
    Stream stream({"steady", 0}, true, TimePoint{7ms});
    stream.play(10s);
    stream.pauseCapture(pause);
    stream.play(10s);
    auto outcome = stream.play(10s);
    EXPECT_EQ(outcome.starved, 0U) << milliseconds(pause);
    EXPECT_LT(milliseconds(outcome.percentile(0.99)), 5.1) << milliseconds(pause);
  }
}

TEST(PacingDiscipline, IsNotMisledByAClearedQueue) {
  Stream stream({"PipeWire", 0, inBlocksOf(Duration(32'000'000 / 3))}, true, TimePoint{7ms});
  stream.play(10s);
  auto before = stream.play(10s);
  for (int i = 0; i < 20; ++i) {
    stream.clearQueue();
    stream.play(1s);
  }
  auto after = stream.play(10s);
  EXPECT_NEAR(milliseconds(after.percentile(0.5)), milliseconds(before.percentile(0.5)), 0.5);
}

}  // namespace
}  // namespace quorin::wifi
