#pragma once

#include "core/queue.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

namespace quorin::panel {

struct Rates {
  double packetsPerSecond = 0;  ///< chunks a second, each counted once whoever receives it
  double kbps = 0;              ///< their payload, in units of 1024 bits a second
};

/// "📊 50.0 pkt/s | 1378.1 Kbps | Clientes: 3"
std::string statisticsLine(const Rates& rates, std::size_t clients);

/// Counts chunks on one thread for rates taken on another, without a lock. Every chunk is counted
/// in exactly one period.
class Statistics {
 public:
  void countPacket() { packetsSent_.fetch_add(1, std::memory_order_relaxed); }  ///< any thread

  // On the statistics queue.

  void beginPeriod(dispatch::TimePoint now) { lastStatsTime_ = now; }
  /// Ends the period and begins the next, unless no time has passed.
  std::optional<Rates> endPeriod(dispatch::TimePoint now);

 private:
  std::atomic<std::uint64_t> packetsSent_ =
      0;  ///< of one chunk each, which gives the bytes as well
  dispatch::TimePoint lastStatsTime_;
};

}  // namespace quorin::panel
