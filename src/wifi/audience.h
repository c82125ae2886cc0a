#pragma once

#include "platform/posix/file_descriptor.h"
#include "wifi/client_table.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
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

}  // namespace quorin::wifi
