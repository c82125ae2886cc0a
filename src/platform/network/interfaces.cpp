#include "platform/network/interfaces.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>

namespace quorin::network {
namespace {

constexpr std::array<std::string_view, 3> kEthernetAndWifi = {"en", "eth", "wl"};

}  // namespace

std::expected<std::vector<InterfaceAddress>, std::error_code> listInterfaceAddresses() {
  ifaddrs* list = nullptr;
  if (::getifaddrs(&list) != 0) {
    return std::unexpected(std::error_code(errno, std::generic_category()));
  }
  const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owned(list, &::freeifaddrs);

  std::vector<InterfaceAddress> result;
  for (const auto* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_name == nullptr || entry->ifa_addr == nullptr ||
        entry->ifa_addr->sa_family != AF_INET) {
      continue;
    }
    sockaddr_in address{};
    std::memcpy(&address, entry->ifa_addr, sizeof address);
    std::array<char, INET_ADDRSTRLEN> dotted{};
    if (::inet_ntop(AF_INET, &address.sin_addr, dotted.data(), dotted.size()) == nullptr) continue;

    const auto has = [flags = entry->ifa_flags](unsigned flag) { return (flags & flag) != 0; };
    result.push_back({.name = entry->ifa_name,
                      .address = dotted.data(),
                      .isUp = has(IFF_UP),
                      .isRunning = has(IFF_RUNNING)});
  }
  return result;
}

bool isEthernetOrWifi(std::string_view interfaceName) {
  return std::ranges::any_of(kEthernetAndWifi,
                             [&](auto prefix) { return interfaceName.starts_with(prefix); });
}

}  // namespace quorin::network
