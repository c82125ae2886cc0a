#pragma once

#include "measure/arrival_statistics.h"
#include "measure/latency.h"
#include "measure/tone_analysis.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace quorin::demo {

/// What a run of the demonstration left behind.
struct Evidence {
  std::vector<float> received;                    ///< every sample, in order
  std::vector<measure::Arrival> arrivals;         ///< of what brought them
  std::vector<measure::Nanoseconds> ticksPlayed;  ///< the ends of the demo's track
};

/// What the evidence says about `sound::demoTrack` on its way.
struct Verdict {
  measure::ArrivalStatistics arrivals;
  std::size_t notesRecognised = 0;
  double frequency = 0;        ///< of the last note, Hz
  measure::Level levelPlayed;  ///< of the melody
  measure::Level levelReceived;
  std::size_t cuts = 0;      ///< samples lost, doubled or silence put in, within the melody
  double lengthErrorMs = 0;  ///< from the melody's beginning to the first tick
  std::size_t ticksReceived = 0;
  std::vector<float> latenciesMs;

  /// The melody arrived as it was played, from the first note to the last tick.
  bool whole() const;
};

/// Nothing when there is no melody at all in what was received.
std::optional<Verdict> judge(const Evidence& evidence);

/// The table that the user reads. `unit`: what brought the sound, a "datagram" or a "frame".
std::string tableOf(const Verdict& verdict, const std::string& unit);

}  // namespace quorin::demo
