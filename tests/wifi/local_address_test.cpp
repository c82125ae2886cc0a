#include "wifi/local_address.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

namespace quorin::wifi {
namespace {

using network::InterfaceAddress;

InterfaceAddress running(std::string name, std::string address) {
  return {.name = std::move(name), .address = std::move(address), .isUp = true, .isRunning = true};
}

TEST(LocalIPv4Address, IsTheFirstThatAPhoneCanReach) {
  const auto loopback = running("lo", "127.0.0.1");
  const struct {
    const char* what;
    std::vector<InterfaceAddress> interfaces;
    std::optional<std::string> chosen;
  } cases[] = {
      {"nothing", {}, std::nullopt},
      {"loopback alone", {loopback}, std::nullopt},
      {"wired", {loopback, running("enp3s0", "192.168.1.20")}, "192.168.1.20"},
      {"wireless", {running("wlp2s0", "192.168.1.21")}, "192.168.1.21"},
      {"link-local before a real one",
       {loopback, running("eno1", "169.254.9.1"), running("eno1", "192.168.1.23")},
       "192.168.1.23"},
      {"link-local alone", {running("eno1", "169.254.9.1")}, std::nullopt},
      {"no address yet", {running("eno1", "0.0.0.0")}, std::nullopt},
      {"a loopback address on a wired interface", {running("eno1", "127.1.2.3")}, std::nullopt},
      {"the list's order decides, not the kind",
       {running("wlan0", "192.168.2.1"), running("eth0", "192.168.1.1")},
       "192.168.2.1"},
      {"switched off", {{"eth0", "192.168.1.1", false, true}}, std::nullopt},
      {"cable out, but wireless",
       {{"eth0", "192.168.1.1", true, false}, running("wlan0", "192.168.2.1")},
       "192.168.2.1"},
      {"tunnels and mobile broadband",
       {running("tun0", "10.8.0.2"), running("wg0", "10.9.0.2"), running("ppp0", "10.1.0.2"),
        running("tailscale0", "100.64.0.2"), running("wwan0", "10.2.0.2")},
       std::nullopt},
      {"bridges and containers",
       {running("docker0", "172.17.0.1"), running("br-1a2b3c", "172.18.0.1"),
        running("virbr0", "192.168.122.1"), running("veth12ab", "10.88.0.1"),
        running("lxcbr0", "10.0.3.1")},
       std::nullopt},
      {"a tunnel before the real one",
       {running("wg0", "10.9.0.2"), running("enx0011", "192.168.1.9")},
       "192.168.1.9"},
      {"addresses that only look like excluded ones", {running("eth0", "12.7.0.1")}, "12.7.0.1"},
      {"a neighbour of the link-local range", {running("eth0", "169.25.4.1")}, "169.25.4.1"},
      {"names are case-sensitive and read from the start",
       {running("ETH0", "192.168.1.1"), running("xeth0", "192.168.1.2")},
       std::nullopt},
  };
  for (const auto& c : cases) EXPECT_EQ(localIPv4Address(c.interfaces), c.chosen) << c.what;
}

}  // namespace
}  // namespace quorin::wifi
