#include "panel/statistics.h"

#include "wire/audio_chunk.h"

#include <array>
#include <cstdio>

namespace quorin::panel {

std::string statisticsLine(const Rates& rates, std::size_t clients) {
  std::array<char, 128> line{};
  std::snprintf(line.data(), line.size(), "📊 %.1f pkt/s | %.1f Kbps | Clientes: %zu",
                rates.packetsPerSecond, rates.kbps, clients);
  return line.data();
}

std::optional<Rates> Statistics::endPeriod(dispatch::TimePoint now) {
  const double seconds = std::chrono::duration<double>(now - lastStatsTime_).count();
  if (seconds <= 0) return std::nullopt;
  lastStatsTime_ = now;
  const auto packets = packetsSent_.exchange(0, std::memory_order_relaxed);
  const std::uint64_t bits = packets * wire::kChunkBytes * 8;
  return Rates{.packetsPerSecond = static_cast<double>(packets) / seconds,
               .kbps = static_cast<double>(bits) / seconds / 1024};
}

}  // namespace quorin::panel
