#include "wifi/request.h"

#include <gtest/gtest.h>

#include <string>

namespace quorin::wifi {
namespace {

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

}  // namespace
}  // namespace quorin::wifi
