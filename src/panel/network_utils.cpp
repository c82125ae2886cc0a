#include "panel/network_utils.h"

#include "platform/network/datagram_socket.h"

namespace quorin::panel {
namespace {

/// Any Internet address would do: only its route is looked up.
constexpr wire::Endpoint kProbe{.address = 0x08080808, .port = 80};

}  // namespace

std::optional<std::string> NetworkUtils::getLocalIPAddress() {
  auto probe = network::DatagramSocket::open();
  if (probe && !probe->connect({}, kProbe)) {
    return wire::addressText(probe->localEndpoint().address);
  }
  return addressOfMainInterface(network::listInterfaceAddresses());
}

std::optional<std::string> NetworkUtils::addressOfMainInterface(
    std::span<const network::InterfaceAddress> interfaces) {
  const network::InterfaceAddress* last = nullptr;
  for (const auto& entry : interfaces) {
    const bool isUsable = entry.isUp && entry.isRunning && network::isEthernetOrWifi(entry.name);
    if (isUsable && (last == nullptr || entry.name == last->name)) last = &entry;
  }
  return last == nullptr ? std::nullopt : std::optional(last->address);
}

}  // namespace quorin::panel
