#include "panel/network_utils.h"

#include "wire/client_key.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

namespace quorin::panel {
namespace {

using network::InterfaceAddress;

struct Case {
  const char* what;
  std::vector<InterfaceAddress> interfaces;
  std::optional<std::string> address;
};

TEST(NetworkUtils, WithoutARouteTheMainInterfaceTellsItsLastAddress) {
  const Case cases[] = {
      {"nothing", {}, std::nullopt},
      {"no wired or wireless one",
       {{"lo", "127.0.0.1", true, true}, {"tun0", "10.8.0.2", true, true}},
       std::nullopt},
      {"one", {{"lo", "127.0.0.1", true, true}, {"eth0", "10.0.0.2", true, true}}, "10.0.0.2"},
      {"two on one",
       {{"enp3s0", "10.0.0.2", true, true}, {"enp3s0", "10.0.0.3", true, true}},
       "10.0.0.3"},
      {"two interfaces",
       {{"enp3s0", "10.0.0.2", true, true},
        {"wlan0", "10.0.1.2", true, true},
        {"docker0", "172.17.0.1", true, true}},
       "10.0.0.2"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(NetworkUtils::addressOfMainInterface(c.interfaces), c.address) << c.what;
  }
}

TEST(NetworkUtils, AsksTheRoutingTable) {
  const auto routeTo = [](std::uint32_t address) {
    return NetworkUtils::addressOfRouteTo(
        wire::ClientKey{.address = address, .port = 80}.socketAddress());
  };
  EXPECT_EQ(routeTo(0x7F000001), "127.0.0.1");
  EXPECT_EQ(routeTo(0xFFFFFFFF), std::nullopt) << "nobody may connect to the broadcast address";
}

}  // namespace
}  // namespace quorin::panel
