#include "wifi/wifi_transport.h"

#include "wire/pcm16.h"

namespace quorin::wifi {

bool WifiTransport::hasListener() {
  listening_ = audience_.load();
  return listening_ && !listening_->empty();
}

void WifiTransport::send(wire::AudioChunkView samples) {
  wire::convertToPcm16(samples, datagram_);
  const auto bytes = std::as_bytes(std::span(datagram_));
  std::uint64_t taken = 0;
  for (const auto& client : *listening_) taken += client->send(bytes) ? 1U : 0U;
  datagramsSent_.fetch_add(taken, std::memory_order_relaxed);
  listening_.reset();  // the last to hold the socket of a client that has left closes it
}

}  // namespace quorin::wifi
