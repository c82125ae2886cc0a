#include "wire/endpoint.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <utility>

namespace quorin::wire {
namespace {

TEST(Endpoint, IsReadFromASocketAddressInNetworkOrder) {
  sockaddr_in source{};
  source.sin_family = AF_INET;
  source.sin_port = htons(513);
  source.sin_addr.s_addr = htonl(0x7F000001);

  const auto key = Endpoint::of(source);

  EXPECT_EQ(key.text(), "127.0.0.1:513");
  const auto back = key.socketAddress();
  EXPECT_EQ(back.sin_family, AF_INET);
  EXPECT_EQ(back.sin_port, source.sin_port);
  EXPECT_EQ(back.sin_addr.s_addr, source.sin_addr.s_addr);
}

TEST(Endpoint, WritesAndParsesTheAddressInDottedFormAColonAndThePort) {
  for (const auto& [key, text] : {std::pair{Endpoint{0xC0A8010A, 9000}, "192.168.1.10:9000"},
                                  std::pair{Endpoint{0, 0}, "0.0.0.0:0"},
                                  std::pair{Endpoint{~0U, 65535}, "255.255.255.255:65535"}}) {
    EXPECT_EQ(key.text(), text);
    EXPECT_EQ(Endpoint::parse(text), key);
  }
}

TEST(Endpoint, ParsesNothingElse) {
  for (const auto* text : {"", ":", "1.2.3.4", "1.2.3.4:", "1.2.3.4:x", "1.2.3.4:1 ", " 1.2.3.4:1",
                           "1.2.3.4:-1", "1.2.3.4:65536", "1.2.3.4:99999999999", "1.2.3:1",
                           "1.2.3.4.5:1", "1.2.3.256:1", "[::1]:1", "localhost:1", "1.2.3.4:1:2"}) {
    EXPECT_EQ(Endpoint::parse(text), std::nullopt) << '"' << text << '"';
  }
}

}  // namespace
}  // namespace quorin::wire
