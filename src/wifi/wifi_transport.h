#pragma once

#include "core/snapshot.h"
#include "platform/network/datagram_socket.h"
#include "stream/transport.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace quorin::wifi {

/// The socket of one client, from the address that the client asked. Any thread.
///
/// One each, so that datagrams queued for an unreachable phone fill only its own send buffer.
class ClientSocket {
 public:
  explicit ClientSocket(network::DatagramSocket connected) : socket_(std::move(connected)) {}

  /// True when the system took the datagram; otherwise it is lost.
  bool send(std::span<const std::byte> datagram) const { return !check(socket_.send(datagram)); }
  std::expected<network::DatagramSocket::Received, std::error_code> receive(
      std::span<char> buffer) const {
    auto received = socket_.receive(buffer);
    if (!received) (void)check(received.error());
    return received;
  }

  /// The client's port was reported closed.
  bool isRefused() const { return refused_.load(std::memory_order_relaxed); }

  int descriptor() const { return socket_.descriptor(); }

 private:
  /// The system reports a refusal only once, to the next call on the socket.
  std::error_code check(std::error_code error) const {
    if (error == std::errc::connection_refused) refused_.store(true, std::memory_order_relaxed);
    return error;
  }

  network::DatagramSocket socket_;
  mutable std::atomic<bool> refused_{false};
};

/// The sockets to send to. Immutable; the main queue publishes a new one after every change, the
/// pacing queue sends to the latest. Shared ownership: a descriptor cannot be closed and reused
/// during a send.
using Audience = std::vector<std::shared_ptr<const ClientSocket>>;

/// The phones on the network: each chunk becomes one datagram of 16-bit samples for all of them.
class WifiTransport : public stream::Transport {
 public:
  /// Main queue: the receivers from the next tick on; null while the server is stopped.
  void publishAudience(std::shared_ptr<const Audience> audience) {
    open_.store(audience != nullptr, std::memory_order_relaxed);
    audience_.store(std::move(audience));
  }

  /// Datagrams that the system took, over all clients. Any thread.
  std::uint64_t datagramsSent() const { return datagramsSent_.load(std::memory_order_relaxed); }

  bool isOpen() const override { return open_.load(std::memory_order_relaxed); }
  bool hasListener() const override;
  void send(wire::AudioChunkView samples) override;

 private:
  std::atomic<bool> open_{false};
  dispatch::Snapshot<Audience> audience_;  ///< main writes, pacing reads
  std::atomic<std::uint64_t> datagramsSent_{0};

  std::array<std::int16_t, wire::kChunkFrames> datagram_{};  ///< pacing queue only
};

}  // namespace quorin::wifi
