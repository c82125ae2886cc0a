#pragma once

#include "measure/arrival_statistics.h"
#include "sound/player.h"

#include <sys/types.h>

#include <chrono>
#include <expected>
#include <string>
#include <vector>

namespace quorin::bench {

/// One measurement of one sender.
struct RunPlan {
  /// Where its sound comes: "ADDRESS:PORT", a server, which `clients` receivers join; "PORT", where
  /// the first of them waits for it, and the others behind; or "cable", a phone at its end.
  std::string from;
  int clients = 1;
  pid_t sender = 0;
  std::string sink;
  sound::Buffering player;
  std::chrono::seconds duration{10};
};

struct RunResult {
  measure::ArrivalStatistics arrivals;
  std::vector<float> latenciesMs;  ///< from the sink's playing a tick to its datagram's stamp
  double processorPercent = 0;     ///< of one core
  double proportionalMb = 0;
  bool realtime = false;
  /// What the machine allowed: two threads that only slept.
  measure::Spread normalLoop;
  measure::Spread realtimeLoop;
};

/// Plays ticks into the sink, lets everything settle, and then measures what arrives. Blocks for
/// the plan's duration and some seconds more. The error is a sentence for the user.
std::expected<RunResult, std::string> measureStream(const RunPlan& plan);

}  // namespace quorin::bench
