#include "wifi/local_address.h"

#include <algorithm>
#include <string_view>

namespace quorin::wifi {
namespace {

bool reachesOthers(std::string_view address) {
  return !address.starts_with("127.") && !address.starts_with("169.254.") && address != "0.0.0.0";
}

}  // namespace

std::optional<std::string> localIPv4Address(std::span<const network::InterfaceAddress> interfaces) {
  const auto found = std::ranges::find_if(interfaces, [](const auto& entry) {
    return entry.isUp && entry.isRunning && reachesOthers(entry.address) &&
           network::isEthernetOrWifi(entry.name);
  });
  if (found == interfaces.end()) return std::nullopt;
  return found->address;
}

std::optional<std::string> localIPv4Address() {
  const auto interfaces = network::listInterfaceAddresses();
  if (!interfaces) return std::nullopt;
  return localIPv4Address(*interfaces);
}

}  // namespace quorin::wifi
