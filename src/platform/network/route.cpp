#include "platform/network/route.h"

#include "platform/posix/file_descriptor.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <array>

namespace quorin::network {

std::optional<std::string> sourceAddressTowards(const sockaddr_in& destination) {
  // Connecting a datagram socket chooses a route and sends nothing.
  const posix::FileDescriptor probe(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  sockaddr_in own{};
  socklen_t length = sizeof own;
  std::array<char, INET_ADDRSTRLEN> dotted{};
  const bool found = probe &&
                     ::connect(probe.get(), reinterpret_cast<const sockaddr*>(&destination),
                               sizeof destination) == 0 &&
                     ::getsockname(probe.get(), reinterpret_cast<sockaddr*>(&own), &length) == 0 &&
                     ::inet_ntop(AF_INET, &own.sin_addr, dotted.data(), dotted.size()) != nullptr;
  return found ? std::optional<std::string>(dotted.data()) : std::nullopt;
}

}  // namespace quorin::network
