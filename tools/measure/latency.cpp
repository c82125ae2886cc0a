#include "measure/latency.h"

#include "measure/tone_analysis.h"

#include <algorithm>

namespace quorin::measure {

std::vector<Nanoseconds> tickArrivals(std::span<const float> samples,
                                      std::span<const Arrival> arrivals, std::size_t from) {
  std::vector<Nanoseconds> times;
  auto arrival = arrivals.begin();
  std::size_t begin = 0;  // of what this arrival brought
  for (const auto tick : ticksIn(samples.subspan(from))) {
    while (arrival != arrivals.end() && from + tick >= begin + arrival->frames) {
      begin += (arrival++)->frames;
    }
    if (arrival != arrivals.end()) times.push_back(arrival->at);
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
