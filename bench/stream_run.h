#pragma once

#include "measure/arrival_statistics.h"
#include "sound/player.h"
#include "wire/endpoint.h"

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <vector>

namespace quorin::bench {

/// One measurement of one sender.
struct RunPlan {
  std::optional<wire::Endpoint> server;  ///< joined by `clients` receivers; none: they bind `port`
                                         ///< and those after it
  std::uint16_t port = 0;
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
