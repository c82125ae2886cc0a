#include "wifi/local_address.h"

#include <algorithm>
#include <string_view>

namespace quorin::wifi {
namespace {

bool isCandidate(const network::InterfaceAddress& entry) {
  const std::string_view address = entry.address;
  return entry.isLive() && network::isEthernetOrWifi(entry.name) && !address.starts_with("127.") &&
         !address.starts_with("169.254.") && address != "0.0.0.0";
}

}  // namespace

LocalNetworks localNetworks(std::span<const network::InterfaceAddress> interfaces,
                            const std::optional<std::string>& defaultRouteInterface) {
  LocalNetworks result;
  auto& candidates = result.candidates;
  std::ptrdiff_t preferred = 0;
  for (const auto& entry : interfaces) {
    if (entry.isUp) result.subnets.push_back(entry.subnet);
    if (!isCandidate(entry)) continue;
    const auto at =
        entry.name == defaultRouteInterface ? candidates.begin() + preferred++ : candidates.end();
    candidates.insert(at, {entry.name, entry.address});
  }
  return result;
}

LocalNetworks lookUpLocalNetworks() {
  return localNetworks(network::listInterfaceAddresses(), network::defaultRouteInterface());
}

std::optional<std::string> localIPv4Address(std::span<const Candidate> candidates,
                                            const std::optional<std::string>& current,
                                            const std::optional<std::string>& wanted) {
  for (const auto& preferred : {current, wanted}) {
    const auto isPreferred = [&](const Candidate& c) { return c.address == preferred; };
    if (std::ranges::any_of(candidates, isPreferred)) return preferred;
  }
  if (candidates.empty()) return std::nullopt;
  return candidates.front().address;
}

}  // namespace quorin::wifi
