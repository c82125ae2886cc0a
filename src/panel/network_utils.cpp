#include "panel/network_utils.h"

#include "platform/network/datagram_socket.h"

namespace quorin::panel {
namespace {

/// Any Internet address would do: only its route is looked up.
constexpr wire::Endpoint kProbe{.address = 0x08080808, .port = 80};

}  // namespace

std::optional<std::string> NetworkUtils::routedAddress() {
  auto probe = network::DatagramSocket::open();
  if (!probe || probe->connect({}, kProbe)) return std::nullopt;
  return wire::addressText(probe->localEndpoint().address);
}

std::optional<std::string> NetworkUtils::localAddress(
    std::span<const network::InterfaceAddress> interfaces,
    const std::optional<std::string>& routed) {
  const network::InterfaceAddress* last = nullptr;
  for (const auto& entry : interfaces) {
    if (!entry.isLive()) continue;
    if (entry.address == routed) return routed;
    if (!network::isEthernetOrWifi(entry.name)) continue;
    if (last == nullptr || entry.name == last->name) last = &entry;
  }
  return last == nullptr ? std::nullopt : std::optional(last->address);
}

}  // namespace quorin::panel
