#include "wifi/source_check.h"

#include <gtest/gtest.h>

namespace quorin::wifi {
namespace {

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

}  // namespace
}  // namespace quorin::wifi
