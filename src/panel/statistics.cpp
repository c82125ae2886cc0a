#include "panel/statistics.h"

#include "wire/audio_chunk.h"

#include <array>
#include <cstdio>

namespace quorin::panel {

std::optional<Rates> ratesOver(std::uint64_t packets, dispatch::Duration elapsed) {
  if (elapsed <= dispatch::Duration::zero()) return std::nullopt;
  const double seconds = std::chrono::duration<double>(elapsed).count();
  const std::uint64_t bits = packets * wire::kChunkBytes * 8;
  return Rates{.packetsPerSecond = static_cast<double>(packets) / seconds,
               .kbps = static_cast<double>(bits) / seconds / 1024};
}

std::string statisticsLine(const Rates& rates, std::size_t clients) {
  std::array<char, 128> line{};
  std::snprintf(line.data(), line.size(), "📊 %.1f pkt/s | %.1f Kbps | Clientes: %zu",
                rates.packetsPerSecond, rates.kbps, clients);
  return line.data();
}

std::optional<Rates> Statistics::endPeriod(dispatch::TimePoint now) {
  const auto elapsed = now - lastStatsTime_;
  if (elapsed <= dispatch::Duration::zero()) return std::nullopt;
  lastStatsTime_ = now;
  return ratesOver(packetsSent_.exchange(0, std::memory_order_relaxed), elapsed);
}

}  // namespace quorin::panel
