#include "wifi/local_address.h"
#include "wifi/request.h"

#include <gmock/gmock.h>

#include <sstream>
#include <string>

namespace quorin::wifi {
namespace {

using network::InterfaceAddress;

constexpr auto kNothing = std::optional<Request>{};

std::string padded(std::string text, std::size_t length) {
  text.resize(length, '.');
  return text;
}

TEST(Request, IsFoundAnywhereInTheDatagramInTheOrderHelloPingStop) {
  const struct {
    const char* name;
    std::string datagram;
    std::optional<Request> expected;
  } cases[] = {
      {"hello", "<<HELLO>>", Request::kHello},
      {"ping", "<<PING>>", Request::kPing},
      {"stop", "<<STOP>>", Request::kStop},
      {"NUL behind", std::string("<<STOP>>\0", 9), Request::kStop},
      {"other text around", "abc<<PING>>def", Request::kPing},
      {"stop, then hello", "<<STOP>><<HELLO>>", Request::kHello},
      {"all three", "<<STOP>><<PING>><<HELLO>>", Request::kHello},
      {"longest, token last", padded("", 118) + "<<HELLO>>", Request::kHello},
      {"one byte too long", padded("<<HELLO>>", 128), kNothing},
      {"empty", "", kNothing},
      {"cut", "<<HELLO>", kNothing},
      {"split by a NUL", std::string("<<HEL\0LO>>", 10), kNothing},
      {"invalid UTF-8 behind", "<<HELLO>>\xFF", kNothing},
      {"cut sequence at the end", "<<PING>>\xE2\x9C", kNothing},
  };
  for (const auto& [name, datagram, expected] : cases) {
    EXPECT_EQ(parseRequest(datagram), expected) << name;
  }
}

network::Subnet subnet(const char* address, int prefix) {
  return {.address = *wire::parseAddress(address),
          .mask = prefix == 0 ? 0 : ~0U << static_cast<unsigned>(32 - prefix)};
}

TEST(SourceCheck, AcceptsPrivateSourcesAndThoseOfOwnNetworks) {
  const network::Subnet own[] = {subnet("127.0.0.1", 8), subnet("192.168.1.20", 24),
                                 subnet("10.9.0.2", 31), subnet("203.0.113.5", 28)};
  const struct {
    const char* source;
    bool accepted;
    const char* asked = "192.168.1.20:9000";
  } rows[] = {
      {"192.168.1.7:40000", true},
      {"172.31.255.1:1", true},
      {"172.32.0.1:1", false},
      {"100.64.0.1:1", true},
      {"100.128.0.1:1", false},
      {"169.254.3.4:1", true},
      {"8.8.8.8:53", false},
      {"203.0.113.9:40000", true},
      {"203.0.113.17:40000", false},
      {"192.168.1.7:0", false},
      {"0.0.0.0:5", false},
      {"224.0.0.251:5353", false},
      {"255.255.255.255:9", false},
      {"192.168.1.255:9", false},
      {"192.168.2.255:9", true},
      {"203.0.113.15:9", false},
      {"10.9.0.3:9", true},
      {"192.168.1.20:9000", false},
      {"192.168.1.20:9001", true},
      {"127.0.0.1:53", false},
      {"127.0.0.1:9000", false, "127.0.0.1:9000"},
      {"127.0.0.1:9001", true, "127.0.0.1:9000"},
      {"127.9.9.9:9000", true, "127.0.0.1:9000"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(isPlausibleClient(*wire::Endpoint::parse(row.source),
                                *wire::Endpoint::parse(row.asked), own),
              row.accepted)
        << row.source << " to " << row.asked;
  }
  EXPECT_FALSE(isPlausibleClient({0x0A000001, 9000}, {0x0A000001, 9000}, {}))
      << "before the first look";
}

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
