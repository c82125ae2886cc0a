#include "wifi/port_text.h"

#include <gtest/gtest.h>

#include <limits>

namespace quorin::wifi {
namespace {

TEST(PortText, TheLeadingIntegerDecides) {
  struct Case {
    std::string_view text;
    int integer;
    std::optional<std::uint16_t> port;
  };
  constexpr int kMost = std::numeric_limits<int>::max();
  constexpr int kLeast = std::numeric_limits<int>::min();
  for (const auto& [text, integer, port] : {
           Case{"1", 1, 1},
           Case{"65535", 65535, 65535},
           Case{"  +9000", 9000, 9000},
           Case{"\t007", 7, 7},
           Case{"9000 or so", 9000, 9000},
           Case{"", 0, std::nullopt},
           Case{"0", 0, std::nullopt},
           Case{"-1", -1, std::nullopt},
           Case{"abc", 0, std::nullopt},
           Case{"65536", 65536, std::nullopt},
           Case{"99999999999999999999", kMost, std::nullopt},
           Case{"-99999999999999999999", kLeast, std::nullopt},
       }) {
    EXPECT_EQ(leadingInteger(text), integer) << '"' << text << '"';
    EXPECT_EQ(parsePort(text), port) << '"' << text << '"';
  }
}

}  // namespace
}  // namespace quorin::wifi
