#pragma once

#include "measure/stamped_socket.h"
#include "quorin-listen/client_session.h"
#include "soak/soak_plan.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>

namespace quorin::soak {

using TimePoint = std::chrono::steady_clock::time_point;

/// Deviations from 20 ms, counted in steps of 10 microseconds; of constant size.
class PacingHistogram {
 public:
  void add(std::chrono::nanoseconds deviation);
  std::uint64_t count() const { return count_; }
  double quantileMs(double fraction) const;
  double maxMs() const { return static_cast<double>(max_.count()) / 1e6; }

 private:
  static constexpr std::chrono::nanoseconds kStep{10'000};
  std::array<std::uint64_t, 10'000> steps_{};  ///< up to 100 ms
  std::uint64_t count_ = 0;
  std::chrono::nanoseconds max_{0};
};

/// What all clients together have seen.
struct Experience {
  std::uint64_t joined = 0;
  std::uint64_t left = 0;
  std::uint64_t silent = 0;
  std::uint64_t refused = 0;
  std::uint64_t unanswered = 0;
  std::uint64_t chunks = 0;
  std::uint64_t missing = 0;             ///< chunks that did not come to who kept the rules
  std::uint64_t missingUnexplained = 0;  ///< of these, while nothing had happened for a while
  std::uint64_t unansweredUnexplained = 0;
  std::chrono::nanoseconds longestUnexplained{0};
  PacingHistogram pacing;  ///< of all, while nothing had happened for a while
};

/// One phone that joins, listens, and goes, in this process.
class SoakClient {
 public:
  SoakClient(unsigned seed, Experience& experience, TimePoint now);

  /// `server`: where the code on the page leads, none while there is none. `calm`: nothing has
  /// happened for so long that every loss is the program's.
  void serve(TimePoint now, const std::optional<wire::Endpoint>& server, bool calm);

  /// The code has changed, or the stream was ended: the person scans again, later.
  void startAnew(TimePoint now);

  bool holdsSocket() const { return socket_.has_value(); }

 private:
  void listen(TimePoint now, bool calm);
  void hear(measure::Nanoseconds arrived, bool calm);
  void goAway(TimePoint now);

  ClientPlan plan_;
  Experience& experience_;
  TimePoint comesAt_;
  TimePoint goesAt_;
  std::optional<measure::StampedSocket> socket_;
  std::optional<listen::ClientSession> session_;
  std::optional<measure::Nanoseconds> heardAt_;
  bool calmSinceHeard_ = false;
};

}  // namespace quorin::soak
