#include "wifi/client_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorin::wifi {
namespace {

using namespace std::chrono_literals;
using HelloResult = ClientTable::HelloResult;

wire::Endpoint phone(std::uint16_t number) {
  return {.address = 0x0A000001, .port = number};
}

// What needs more keys than a test has sockets; the rest is the server's.
TEST(ClientTable, RemembersABoundedNumberOfStrangersAndStillServesClients) {
  ClientTable table;
  const dispatch::BootTime now{1000h};
  EXPECT_EQ(table.hello(phone(1), 0, now), HelloResult::kFirstClient);
  for (std::uint32_t address = 0; address < 100'000; ++address) {
    table.ping({.address = address, .port = 7}, now);
  }
  EXPECT_EQ(table.lastSeenCount(), ClientTable::kMaxUnregistered + 1);

  EXPECT_EQ(table.hello(phone(2), 0, now + 1s), HelloResult::kNewClient);
  table.ping(phone(1), now + 1s);
  EXPECT_EQ(table.expire(now + 9s), 0U);
  EXPECT_EQ(table.lastSeenCount(), 2U);
  EXPECT_EQ(table.expire(now + 9s + 1ns), 2U);
  EXPECT_EQ(table.hello(phone(3), 0, now + 10s), HelloResult::kFirstClient) << "once more";
}

}  // namespace
}  // namespace quorin::wifi
