#include "wifi/request.h"

#include "wire/control_message.h"
#include "wire/text.h"

#include <algorithm>

namespace quorin::wifi {
namespace {

using network::Subnet;

constexpr Subnet kLoopback{.address = 0x7F000000, .mask = 0xFF000000};
constexpr Subnet kPrivate[] = {
    {.address = 0x0A000000, .mask = 0xFF000000},  // 10/8
    {.address = 0xAC100000, .mask = 0xFFF00000},  // 172.16/12
    {.address = 0xC0A80000, .mask = 0xFFFF0000},  // 192.168/16
    {.address = 0x64400000, .mask = 0xFFC00000},  // 100.64/10, carriers' own
    {.address = 0xA9FE0000, .mask = 0xFFFF0000},  // 169.254/16, link-local
};

}  // namespace

std::optional<Request> parseRequest(std::string_view datagram) {
  if (datagram.empty() || datagram.size() > kMaxRequestBytes) return std::nullopt;
  if (!wire::isValidUtf8(datagram)) return std::nullopt;

  if (datagram.contains(wire::kHello)) return Request::kHello;
  if (datagram.contains(wire::kPing)) return Request::kPing;
  if (datagram.contains(wire::kStop)) return Request::kStop;
  return std::nullopt;
}

bool isPlausibleClient(const wire::Endpoint& source, const wire::Endpoint& asked,
                       std::span<const Subnet> ownNetworks) {
  if (!source.isHost()) return false;
  const auto address = source.address;
  const auto isOurServer = [&](const Subnet& own) {
    return source.port == asked.port && address == own.address;
  };
  if (source == asked || std::ranges::any_of(ownNetworks, isOurServer)) return false;
  if (kLoopback.contains(address)) return kLoopback.contains(asked.address);

  const auto contains = [&](const Subnet& network) { return network.contains(address); };
  const auto isBroadcast = [&](const Subnet& network) { return network.isBroadcast(address); };
  return !std::ranges::any_of(ownNetworks, isBroadcast) &&
         (std::ranges::any_of(kPrivate, contains) || std::ranges::any_of(ownNetworks, contains));
}

}  // namespace quorin::wifi
