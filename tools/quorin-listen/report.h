#pragma once

#include "measure/arrival_statistics.h"
#include "measure/tone_analysis.h"
#include "quorin-listen/sound_source.h"

#include <optional>
#include <string>
#include <vector>

namespace quorin::listen {

/// Statistics of the sound received so far, and their texts. Pure: no clock, no file.
class Report {
 public:
  /// Sound of one of the two formats; the samples come back for those who write or play them.
  std::span<const float> add(const Sound& sound);

  /// One line for a terminal: datagrams in the last second, gaps, jitter of the last 10 s, the
  /// level.
  std::string liveLine(measure::Nanoseconds now) const;

  /// A sentence where the sound has stopped to come.
  std::optional<std::string> interruption(measure::Nanoseconds now) const;

  /// The result of the whole run.
  std::string asText() const;
  std::string asJson() const;

 private:
  std::span<const float> newest(std::size_t samples) const;

  measure::ArrivalStatistics arrivals_;
  measure::LevelMeter level_;
  std::vector<measure::Nanoseconds> recentArrivals_;  ///< of the last second
  std::vector<float> lastSecond_;
};

}  // namespace quorin::listen
