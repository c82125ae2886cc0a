#include "wifi/wifi_transport.h"

#include "wire/pcm16.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace quorin::wifi {

Audience::Audience(std::shared_ptr<const posix::FileDescriptor> boundSocket,
                   std::span<const wire::ClientKey> clients)
    : socket(std::move(boundSocket)), count(clients.size()) {
  assert(count <= addresses.size());
  std::ranges::transform(clients, addresses.begin(), &wire::ClientKey::socketAddress);
}

AudienceSender::AudienceSender() {
  for (auto& message : messages_) {
    message.msg_hdr.msg_namelen = sizeof(sockaddr_in);
    message.msg_hdr.msg_iov = &payload_;
    message.msg_hdr.msg_iovlen = 1;
  }
}

std::size_t AudienceSender::send(const Audience& audience, std::span<const std::byte> datagram) {
  // The system's structures are not const-correct; it only reads what they point to.
  payload_ = {const_cast<std::byte*>(datagram.data()), datagram.size()};
  for (std::size_t i = 0; i < audience.count; ++i) {
    messages_[i].msg_hdr.msg_name = const_cast<sockaddr_in*>(&audience.addresses[i]);
  }

  // The call stops at the first address that fails; go on behind it.
  std::size_t taken = 0;
  std::size_t next = 0;
  while (next < audience.count) {
    const int sent = ::sendmmsg(audience.socket->get(), &messages_[next],
                                static_cast<unsigned>(audience.count - next), MSG_DONTWAIT);
    if (sent <= 0) {
      ++next;
      continue;
    }
    taken += static_cast<std::size_t>(sent);
    next += static_cast<std::size_t>(sent);
  }
  return taken;
}

bool WifiTransport::hasListener() const {
  const auto audience = audience_.load();
  return audience && audience->count > 0;
}

void WifiTransport::send(wire::AudioChunkView samples) {
  const auto audience = audience_.load();
  if (!audience) return;  // the server stopped this instant
  wire::convertToPcm16(samples, datagram_);
  const auto taken = audienceSender_.send(*audience, std::as_bytes(std::span(datagram_)));
  datagramsSent_.fetch_add(taken, std::memory_order_relaxed);
}

}  // namespace quorin::wifi
