#pragma once

#include "measure/arrival_statistics.h"

#include <chrono>
#include <cstddef>
#include <span>
#include <vector>

namespace quorin::measure {

/// One datagram: when the kernel stamped it, and how many samples it held.
struct Arrival {
  Nanoseconds at;
  std::size_t frames;
};

/// The time, in ms, from each tick's playing to the stamp of the datagram that brought it. A tick
/// that arrived belongs to the latest one played up to then, or just after: a sink hands sound on
/// up to `kAhead` before it counts as played. Ticks without a partner within `reach` are left out.
inline constexpr Nanoseconds kAhead = std::chrono::milliseconds(50);
std::vector<float> tickLatenciesMs(std::span<const Nanoseconds> played,
                                   std::span<const Nanoseconds> arrived, Nanoseconds reach);

/// When each tick in `samples`, which came as `arrivals`, arrived; those before `from` are not
/// looked for.
std::vector<Nanoseconds> tickArrivals(std::span<const float> samples,
                                      std::span<const Arrival> arrivals, std::size_t from = 0);

}  // namespace quorin::measure
