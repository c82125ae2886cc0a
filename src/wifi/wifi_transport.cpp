#include "wifi/wifi_transport.h"

namespace quorin::wifi {

bool WifiTransport::hasListener() const {
  const auto audience = audience_.load();
  return audience && !audience->empty();
}

void WifiTransport::send(wire::AudioChunkView samples) {
  const auto audience = audience_.load();
  if (!audience) return;  // stopped since `hasListener`
  wire::convertToPcm16(samples, datagram_);
  const auto bytes = std::as_bytes(std::span(datagram_));
  std::uint64_t taken = 0;
  for (const auto& client : *audience) taken += client->send(bytes) ? 1U : 0U;
  datagramsSent_.fetch_add(taken, std::memory_order_relaxed);
}

}  // namespace quorin::wifi
