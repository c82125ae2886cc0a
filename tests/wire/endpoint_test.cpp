#include "wire/endpoint.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <utility>

namespace quorin::wire {
namespace {

TEST(Endpoint, WritesAndParsesTheAddressInDottedFormAColonAndThePort) {
  for (const auto& [key, text] : {std::pair{Endpoint{0xC0A8010A, 9000}, "192.168.1.10:9000"},
                                  std::pair{Endpoint{0, 0}, "0.0.0.0:0"},
                                  std::pair{Endpoint{~0U, 65535}, "255.255.255.255:65535"}}) {
    EXPECT_EQ(key.text(), text);
    EXPECT_EQ(Endpoint::parse(text), key);
    EXPECT_EQ(Endpoint::of(key.socketAddress()), key);
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
