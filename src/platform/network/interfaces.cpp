#include "platform/network/interfaces.h"

#include "wire/endpoint.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <net/route.h>

#include <cstring>
#include <fstream>
#include <limits>
#include <memory>
#include <sstream>

namespace quorin::network {
namespace {

wire::Endpoint endpointOf(const sockaddr* address) {
  sockaddr_in copy{};
  std::memcpy(&copy, address, sizeof copy);
  return wire::Endpoint::of(copy);
}

}  // namespace

bool Subnet::isBroadcast(std::uint32_t other) const {
  const auto host = ~mask;
  return contains(other) && host > 1 && ((other & host) == host || (other & host) == 0);
}

std::vector<InterfaceAddress> listInterfaceAddresses() {
  ifaddrs* list = nullptr;
  if (::getifaddrs(&list) != 0) return {};
  const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owned(list, &::freeifaddrs);

  std::vector<InterfaceAddress> result;
  for (const auto* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_name == nullptr || entry->ifa_addr == nullptr ||
        entry->ifa_addr->sa_family != AF_INET) {
      continue;
    }
    Subnet subnet{.address = endpointOf(entry->ifa_addr).address};
    if (entry->ifa_netmask != nullptr) subnet.mask = endpointOf(entry->ifa_netmask).address;
    const auto has = [flags = entry->ifa_flags](unsigned flag) { return (flags & flag) != 0; };
    result.push_back({.name = entry->ifa_name,
                      .address = wire::addressText(subnet.address),
                      .isUp = has(IFF_UP),
                      .isRunning = has(IFF_RUNNING),
                      .subnet = subnet});
  }
  return result;
}

std::optional<std::string> defaultRouteInterface() {
  std::ifstream routes("/proc/thread-self/net/route");
  return defaultRouteInterface(routes);
}

std::optional<std::string> defaultRouteInterface(std::istream& routes) {
  std::optional<std::string> best;
  auto lowestMetric = std::numeric_limits<unsigned long>::max();
  for (std::string line; std::getline(routes, line);) {
    std::istringstream fields(line);
    std::string name, destination, gateway, mask;
    unsigned long flags = 0, references = 0, uses = 0, metric = 0;
    fields >> name >> destination >> gateway >> std::hex >> flags >> std::dec >> references >>
        uses >> metric >> mask;
    const bool isDefault = destination == "00000000" && mask == "00000000";
    const bool isUsable = (flags & RTF_UP) != 0 && (flags & RTF_REJECT) == 0;
    if (!fields || !isDefault || !isUsable || !isEthernetOrWifi(name)) continue;
    if (best && metric >= lowestMetric) continue;
    best = name;
    lowestMetric = metric;
  }
  return best;
}

bool isEthernetOrWifi(std::string_view interfaceName) {
  return interfaceName.starts_with("en") || interfaceName.starts_with("eth") ||
         isWifi(interfaceName);
}

bool isWifi(std::string_view interfaceName) {
  return interfaceName.starts_with("wl");
}

}  // namespace quorin::network
