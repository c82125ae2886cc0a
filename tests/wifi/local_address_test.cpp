#include "wifi/local_address.h"

#include <gmock/gmock.h>

#include <sstream>

namespace quorin::wifi {
namespace {

using network::InterfaceAddress;

InterfaceAddress running(std::string name, std::string address) {
  return {.name = std::move(name), .address = std::move(address), .isUp = true, .isRunning = true};
}

TEST(LocalNetworks, CandidatesAreWhereAPhoneCanReachThisComputer) {
  const auto wired = running("eth0", "192.168.1.1");
  const auto wireless = running("wlan0", "192.168.2.1");
  using Names = std::vector<std::string>;
  const struct {
    const char* what;
    std::vector<InterfaceAddress> interfaces;
    Names candidates;
    const char* defaultRoute = "";
  } cases[] = {
      {"nothing", {}, {}},
      {"loopback, and one that has an address of it",
       {running("lo", "127.0.0.1"), running("eno1", "127.1.2.3")},
       {}},
      {"wired and wireless, in the list's order",
       {wireless, wired},
       {"192.168.2.1", "192.168.1.1"}},
      {"the default route first", {wired, wireless}, {"192.168.2.1", "192.168.1.1"}, "wlan0"},
      {"a default route through a tunnel",
       {wired, running("wg0", "10.9.0.2"), wireless},
       {"192.168.1.1", "192.168.2.1"},
       "wg0"},
      {"link-local, no address yet",
       {running("enp3s0", "169.254.9.1"), running("enp3s0", "0.0.0.0")},
       {}},
      {"switched off, cable out",
       {{"eth0", "192.168.1.1", false, true, {}}, {"eth1", "192.168.1.1", true, false, {}}},
       {}},
      {"tunnels, bridges, mobile broadband",
       {running("tun0", "10.8.0.2"), running("docker0", "172.17.0.1"), running("wwan0", "10.2.0.2"),
        running("veth12ab", "10.88.0.1"), running("tailscale0", "100.64.0.2")},
       {}},
  };
  for (const auto& c : cases) {
    Names found;
    for (const auto& candidate : localNetworks(c.interfaces, c.defaultRoute).candidates) {
      found.push_back(candidate.address);
    }
    EXPECT_EQ(found, c.candidates) << c.what;
  }
}

TEST(DefaultRoute, IsTheUsableOneWithTheLowestMetric) {
  const std::string head =
      "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\n";
  const std::string link = "eth0\t0001A8C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\t0\t0\t0\n";
  const std::string wired = "eth0\t00000000\t0101A8C0\t0003\t0\t0\t600\t00000000\t0\t0\t0\n";
  const std::string wireless = "wlan0\t00000000\t0102A8C0\t0003\t0\t0\t100\t00000000\t0\t0\t0\n";
  const std::string tunnel = "tun0\t00000000\t00000000\t0001\t0\t0\t50\t00000000\t0\t0\t0\n";
  const std::string rejected = "eth1\t00000000\t00000000\t0200\t0\t0\t0\t00000000\t0\t0\t0\n";
  const struct {
    std::string table;
    std::optional<std::string> name;
  } rows[] = {{"", {}},
              {head + link + rejected, {}},
              {head + link + wired, "eth0"},
              {head + rejected + wired + wireless + link, "wlan0"},
              {head + tunnel + wireless, "wlan0"},
              {head + "rubbish\n" + wireless + wired, "wlan0"}};
  for (const auto& row : rows) {
    std::istringstream table(row.table);
    EXPECT_EQ(network::defaultRouteInterface(table), row.name) << row.table;
  }
}

}  // namespace
}  // namespace quorin::wifi
