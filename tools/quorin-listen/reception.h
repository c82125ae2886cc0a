#pragma once

#include "measure/arrival_statistics.h"
#include "measure/tone_analysis.h"
#include "quorin-listen/sound_source.h"

#include <deque>
#include <vector>

namespace quorin::listen {

/// What is known of the sound received so far. Pure: no clock, no file.
class Reception {
 public:
  /// Sound of one of the two formats; the samples come back for those who write or play them.
  std::span<const float> add(const Sound& sound);

  const measure::ArrivalStatistics& arrivals() const { return arrivals_; }
  /// Of the whole run.
  measure::Level level() const { return wholeLevel_.level(); }

  /// How many datagrams came in the second before `now`.
  std::size_t inLastSecond(measure::Nanoseconds now) const;
  /// The newest sound, at most one second.
  std::span<const float> lastSecond() const { return lastSecond_; }
  /// Of the newest 200 ms.
  measure::Level recentLevel() const;

 private:
  measure::ArrivalStatistics arrivals_;
  measure::LevelMeter wholeLevel_;
  std::deque<measure::Nanoseconds> recentArrivals_;
  std::vector<float> lastSecond_;
};

}  // namespace quorin::listen
