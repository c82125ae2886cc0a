#pragma once

#include "quorin-listen/reception.h"

#include <chrono>
#include <optional>
#include <string>

namespace quorin::listen {

/// One line for a terminal: datagrams a second, gaps, jitter of the last 10 s, a level meter.
std::string liveLine(const Reception& reception, measure::Nanoseconds now);

/// The result of a run, what a reader wants to know first.
struct Report {
  std::size_t datagrams = 0;
  double soundSeconds = 0;
  double delivered = 0;
  std::size_t gaps = 0;
  measure::Spread deviation;  ///< ms
  double bufferNeededMs = 0;
  measure::Level level;
  double frequency = 0;  ///< Hz, of the last second
  std::optional<std::chrono::nanoseconds> roundTrip;
};

Report reportOf(const Reception& reception, std::optional<std::chrono::nanoseconds> roundTrip);

std::string asText(const Report& report);
std::string asJson(const Report& report);

}  // namespace quorin::listen
