#pragma once

#include "core/scheduler.h"
#include "usb/cable_link.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <system_error>
#include <vector>

namespace quorin::usb {

/// Measures the round trip to the phone: while a channel is held, one ping a second, counted from
/// when the last one was written; the pong brings its line in the log. Confined to the main
/// queue.
class PingLoop {
 public:
  static constexpr std::chrono::milliseconds kInterval{1000};
  /// A phone that never answers leaves this many pings behind, and no more.
  static constexpr std::size_t kMaxUnanswered = 60;

  PingLoop(dispatch::Scheduler& scheduler, const CableLink& link);

  /// Starts the loop, which then never stops. Once.
  void ping();

  /// A pong has come. Ignored unless it answers a ping that waits.
  void pongWithTag(std::uint32_t tag, std::error_code error);

  /// The channel is gone, and with it all answers.
  void forgetUnanswered() { pings_.clear(); }

  std::size_t unanswered() const { return pings_.size(); }

 private:
  struct Ping {
    std::uint32_t tag = 0;
    dispatch::TimePoint dateCreated;
    std::optional<dispatch::TimePoint> dateSent = {};
    std::optional<dispatch::TimePoint> dateEnded = {};
  };

  void pingAgainLater();
  void pingWritten(std::uint32_t tag, std::error_code error);
  std::vector<Ping>::iterator find(std::uint32_t tag);

  dispatch::Scheduler& scheduler_;
  const CableLink& link_;
  std::vector<Ping> pings_;  ///< not answered yet, oldest first
  dispatch::Scope scope_;
};

}  // namespace quorin::usb
