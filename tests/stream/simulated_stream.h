#pragma once

#include "stream/audio_frame_queue.h"
#include "stream/pacing_discipline.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <utility>
#include <vector>

/// A capture with a clock of its own and a send timer, in simulated time.
namespace quorin::stream {

using dispatch::Duration;
using dispatch::TimePoint;

constexpr Duration kChunk = wire::kChunkDuration;

inline double milliseconds(Duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

/// How long after its last sample a chunk reaches the sender.
using Lateness = std::function<Duration(std::uint64_t chunk)>;

inline Duration atOnce(std::uint64_t) {
  return {};
}

/// The audio server delivers in blocks, and a chunk arrives with the block that completes it.
inline Lateness inBlocksOf(Duration block) {
  return [block](std::uint64_t chunk) {
    const auto complete = kChunk * static_cast<Duration::rep>(chunk);
    const auto blocks = (complete + block - Duration(1)) / block;
    return blocks * block - complete;
  };
}

/// PulseAudio while both processors are loaded: late by slices of the scheduler, as recorded.
inline Lateness onABusyMachine(unsigned seed) {
  return [random = std::mt19937(seed)](std::uint64_t) mutable {
    const auto kind = random() % 1000;
    const double late = kind < 850 ? 0.2 : kind < 990 ? 7.5 : kind < 998 ? 14 : 26;
    return std::chrono::round<Duration>(std::chrono::duration<double, std::milli>(
        late + std::exponential_distribution<>(1 / 0.1)(random)));
  };
}

/// The machine holds up one chunk of so many.
inline Lateness oneLate(std::uint64_t of, Duration by) {
  return [of, by](std::uint64_t chunk) { return chunk % of == 0 ? by : Duration{}; };
}

struct Scene {
  const char* name;
  double ppm = 0;  ///< how much faster than the sender's clock the capture runs
  Lateness lateness = atOnce;
  std::uint64_t mayStarve = 0;                         ///< so many ticks
  Duration latency = std::chrono::milliseconds(25);    ///< the 99th percentile may be
  Duration deviation = std::chrono::microseconds(50);  ///< the same of the intervals
  Duration length = std::chrono::minutes(10);
};

struct Outcome {
  std::uint64_t sent = 0;
  std::uint64_t starved = 0;
  std::uint64_t overflowed = 0;
  std::vector<Duration> intervals;  ///< between sends
  std::vector<Duration> latency;    ///< from the last sample to the send, once a second

  Duration latencyPercentile(double p) { return percentile(latency, p); }
  Duration deviationPercentile(double p) const {
    auto deviations = intervals;
    for (auto& interval : deviations) interval = std::chrono::abs(interval - kChunk);
    return percentile(deviations, p);
  }

 private:
  static Duration percentile(std::vector<Duration>& values, double p) {
    const auto at = values.begin() + std::lround(p * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), at, values.end());
    return *at;
  }
};

/// A capture and a send timer with the real queue between them. Without a scheduler: chunks and
/// looks are merged by their times, and a day takes seconds.
class Stream {
 public:
  explicit Stream(const Scene& scene, TimePoint firstTick = TimePoint{std::chrono::milliseconds(7)})
      : scene_(scene), pacing_(firstTick) {
    prepareNext();
  }

  /// Plays on; returns what happened.
  Outcome play(Duration length) {
    Outcome outcome;
    const auto end = pacing_.nextLook() + length;
    const auto overflowedBefore = queue_.overflowed();
    while (pacing_.nextLook() < end) {
      const bool waiting = pacing_.isWaiting();
      auto now = pacing_.nextLook() + std::exchange(stoodStill_, Duration(0));
      if (waiting) now = std::max(std::min(now, arriving_), now - PacingDiscipline::kLeeway);
      append(now, waiting ? 1 : SIZE_MAX);
      const auto arrived = queue_.take(samples_);
      if (arrived) {
        noteSend(now, *arrived, outcome);
      } else if (waiting) {
        ++outcome.starved;
      }
      pacing_.looked(now, arrived);
    }
    outcome.overflowed = queue_.overflowed() - overflowedBefore;
    return outcome;
  }

  /// So long before the next tick.
  void clearQueue(Duration beforeTick) {
    append(pacing_.nextLook() - beforeTick);
    queue_.clear();
  }
  void pauseCapture(Duration duration) { paused_ += duration; }
  void pauseTicks(Duration duration) { stoodStill_ += duration; }

 private:
  void append(TimePoint until, std::size_t max = SIZE_MAX) {
    for (; max > 0 && arriving_ <= until; --max) {
      queue_.append(next_, arriving_);
      prepareNext();
    }
  }

  void prepareNext() {
    ++chunk_;
    const auto nanoseconds = 20e6 * static_cast<double>(chunk_) / (1 + scene_.ppm * 1e-6);
    const auto complete = TimePoint{Duration(std::llround(nanoseconds))} + paused_;
    arriving_ = std::max(complete + scene_.lateness(chunk_), arriving_);
    next_[0] = static_cast<float>(milliseconds(arriving_ - complete));
  }

  void noteSend(TimePoint now, TimePoint arrived, Outcome& outcome) {
    if (++outcome.sent % 50 == 0) {
      const std::chrono::duration<double, std::milli> lateness(samples_[0]);
      outcome.latency.push_back(now - arrived + std::chrono::round<Duration>(lateness));
    }
    const auto interval = now - std::exchange(sentAt_, now);
    if (outcome.sent > 1) outcome.intervals.push_back(interval);
  }

  Scene scene_;
  AudioFrameQueue queue_;
  PacingDiscipline pacing_;
  TimePoint sentAt_{};
  Duration stoodStill_{0};
  TimePoint arriving_{};
  wire::AudioChunk next_{};
  wire::AudioChunk samples_{};
  std::uint64_t chunk_ = 0;
  Duration paused_{0};
};

}  // namespace quorin::stream
