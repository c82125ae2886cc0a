#include "measure/latency.h"

#include "measure/tone_analysis.h"

#include <algorithm>

namespace quorin::measure {

const Arrival* arrivalOf(std::span<const Arrival> arrivals, std::size_t position) {
  std::size_t end = 0;
  for (const auto& arrival : arrivals) {
    end += arrival.frames;
    if (position < end) return &arrival;
  }
  return nullptr;
}

std::vector<Nanoseconds> tickArrivals(std::span<const float> samples,
                                      std::span<const Arrival> arrivals) {
  std::vector<Nanoseconds> times;
  for (const auto position : ticksIn(samples)) {
    if (const auto* arrival = arrivalOf(arrivals, position)) times.push_back(arrival->at);
  }
  return times;
}

std::vector<float> tickLatenciesMs(std::span<const Nanoseconds> played,
                                   std::span<const Nanoseconds> arrived, Nanoseconds reach) {
  std::vector<float> latencies;
  for (const auto arrival : arrived) {
    const auto after = std::ranges::upper_bound(played, arrival + kAhead);
    if (after == played.begin()) continue;
    const auto latency = arrival - *std::prev(after);
    if (latency > reach) continue;
    latencies.push_back(std::chrono::duration<float, std::milli>(latency).count());
  }
  return latencies;
}

}  // namespace quorin::measure
