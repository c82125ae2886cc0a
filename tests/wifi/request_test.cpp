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
      {"newline behind", "<<HELLO>>\n", Request::kHello},
      {"NUL behind", std::string("<<STOP>>\0", 9), Request::kStop},
      {"NUL before", std::string("\0<<PING>>", 9), Request::kPing},
      {"other text around", "abc<<PING>>def", Request::kPing},
      {"UTF-8 around", "\xC3\xB1<<PING>>\xE2\x9C\x85", Request::kPing},
      {"stop, then hello", "<<STOP>><<HELLO>>", Request::kHello},
      {"ping, then stop", "<<PING>><<STOP>>", Request::kPing},
      {"all three", "<<STOP>><<PING>><<HELLO>>", Request::kHello},
      {"longest", padded("<<HELLO>>", 127), Request::kHello},
      {"longest, token last", padded("", 118) + "<<HELLO>>", Request::kHello},
      {"one byte too long", padded("<<HELLO>>", 128), kNothing},
      {"empty", "", kNothing},
      {"lower case", "<<hello>>", kNothing},
      {"cut", "<<HELLO>", kNothing},
      {"split by a NUL", std::string("<<HEL\0LO>>", 10), kNothing},
      {"a reply of ours", "<<READY>>", kNothing},
      {"invalid UTF-8 behind", "<<HELLO>>\xFF", kNothing},
      {"invalid UTF-8 before", "\xC0\x80<<STOP>>", kNothing},
      {"cut sequence at the end", "<<PING>>\xE2\x9C", kNothing},
  };
  for (const auto& [name, datagram, expected] : cases) {
    EXPECT_EQ(parseRequest(datagram), expected) << name;
  }
}

}  // namespace
}  // namespace quorin::wifi
