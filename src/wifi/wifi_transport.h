#pragma once

#include "core/snapshot.h"
#include "platform/posix/file_descriptor.h"
#include "stream/transport.h"
#include "wifi/client_table.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace quorin::wifi {

/// Whom the next datagram goes to. Immutable; the main queue publishes a new one after every
/// change, the pacing queue sends to the one it finds.
struct Audience {
  /// Shared, so that the socket cannot be closed, and its number not be taken by another file,
  /// while a send is under way.
  std::shared_ptr<const posix::FileDescriptor> socket;
  std::array<sockaddr_in, ClientTable::kMaxClients> addresses{};
  std::size_t count = 0;

  Audience(std::shared_ptr<const posix::FileDescriptor> boundSocket,
           std::span<const wire::ClientKey> clients);
};

/// Sends one datagram to a whole audience with one system call. Confined to one thread;
/// allocates nothing and never waits: what the system cannot take at once is lost.
class AudienceSender {
 public:
  AudienceSender();

  /// Returns how many of the audience the system took the datagram for. One address that fails
  /// costs nobody else anything.
  std::size_t send(const Audience& audience, std::span<const std::byte> datagram);

 private:
  iovec payload_{};
  std::array<mmsghdr, ClientTable::kMaxClients> messages_{};
};

/// The phones on the network: each chunk becomes one datagram of 16-bit samples for all of them.
class WifiTransport : public stream::Transport {
 public:
  /// Main queue: while the server runs, chunks are wanted.
  void setServerRunning(bool running) { serverRunning_.store(running, std::memory_order_relaxed); }

  /// Main queue: everybody who gets the chunks from the next tick on; null for nobody.
  void publishAudience(std::shared_ptr<const Audience> audience) {
    audience_.store(std::move(audience));
  }

  /// Datagrams that the system took, over all clients. Any thread.
  std::uint64_t datagramsSent() const { return datagramsSent_.load(std::memory_order_relaxed); }

  bool isOpen() const override { return serverRunning_.load(std::memory_order_relaxed); }
  bool hasListener() const override;
  void send(wire::AudioChunkView samples) override;

 private:
  std::atomic<bool> serverRunning_{false};  ///< main writes, capture reads
  dispatch::Snapshot<Audience> audience_;   ///< main writes, pacing reads
  std::atomic<std::uint64_t> datagramsSent_{0};

  // Pacing queue only.
  AudienceSender audienceSender_;
  std::array<std::int16_t, wire::kChunkFrames> datagram_{};
};

}  // namespace quorin::wifi
