#include "panel/network_utils.h"

#include "platform/posix/file_descriptor.h"
#include "wire/client_key.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>

namespace quorin::panel {
namespace {

/// Any stable address of the Internet would do: connecting a datagram socket only chooses a route.
constexpr wire::ClientKey kProbe{.address = 0x08080808, .port = 80};

}  // namespace

std::optional<std::string> NetworkUtils::getLocalIPAddress() {
  if (auto address = addressOfRouteTo(kProbe.socketAddress())) return address;
  const auto interfaces = network::listInterfaceAddresses();
  if (!interfaces) return std::nullopt;
  return addressOfMainInterface(*interfaces);
}

std::optional<std::string> NetworkUtils::addressOfRouteTo(const sockaddr_in& destination) {
  const posix::FileDescriptor probe(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (!probe) return std::nullopt;
  if (::connect(probe.get(), reinterpret_cast<const sockaddr*>(&destination), sizeof destination) !=
      0) {
    return std::nullopt;
  }
  sockaddr_in own{};
  socklen_t length = sizeof own;
  if (::getsockname(probe.get(), reinterpret_cast<sockaddr*>(&own), &length) != 0) {
    return std::nullopt;
  }
  std::array<char, INET_ADDRSTRLEN> dotted{};
  if (::inet_ntop(AF_INET, &own.sin_addr, dotted.data(), dotted.size()) == nullptr) {
    return std::nullopt;
  }
  return dotted.data();
}

std::optional<std::string> NetworkUtils::addressOfMainInterface(
    std::span<const network::InterfaceAddress> interfaces) {
  const auto first = std::ranges::find_if(
      interfaces, [](const auto& entry) { return network::isEthernetOrWifi(entry.name); });
  if (first == interfaces.end()) return std::nullopt;
  std::optional<std::string> last;
  for (const auto& entry : interfaces) {
    if (entry.name == first->name) last = entry.address;
  }
  return last;
}

}  // namespace quorin::panel
