#include "wifi/client_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorin::wifi {
namespace {

using namespace std::chrono_literals;
using dispatch::WallTime;
using testing::UnorderedElementsAre;
using wire::ClientKey;
using HelloResult = ClientTable::HelloResult;

ClientKey phone(std::uint16_t number) {
  return {.address = 0x0A000001, .port = number};
}

class ClientTableTest : public testing::Test {
 protected:
  ClientTable table;
  WallTime now{1000h};
};

TEST_F(ClientTableTest, TellsAFirstClientWheneverNobodyWasThere) {
  EXPECT_EQ(table.hello(phone(1), now), HelloResult::kFirstClient);
  EXPECT_EQ(table.hello(phone(1), now), HelloResult::kKnownClient);
  table.stop(phone(1));
  EXPECT_EQ(table.hello(phone(2), now), HelloResult::kFirstClient);
}

TEST_F(ClientTableTest, SilenceEndsMembershipOnlyAfterMoreThanEightSeconds) {
  table.hello(phone(1), now);
  table.hello(phone(2), now);
  table.ping(phone(3), now);
  table.hello(phone(4), now);

  table.ping(phone(2), now + 1ns);
  table.hello(phone(4), now + 1ns);
  const auto atTheLimit = table.expire(now + 8s);
  EXPECT_EQ(atTheLimit.keys, 0U);

  const auto beyond = table.expire(now + 8s + 1ns);
  EXPECT_EQ(beyond.keys, 2U);
  EXPECT_EQ(beyond.clients, 1U);
  EXPECT_THAT(table.clients(), UnorderedElementsAre(phone(2), phone(4)));
}

TEST_F(ClientTableTest, FollowsAChangeOfTheSystemClock) {
  table.hello(phone(1), now);
  EXPECT_EQ(table.expire(now - 24h).keys, 0U);
  EXPECT_EQ(table.expire(now + 24h).keys, 1U);
}

TEST_F(ClientTableTest, StoresNothingOfWhoIsRefused) {
  for (std::uint16_t i = 1; i <= 11; ++i) table.hello(phone(i), now);
  EXPECT_EQ(table.lastSeenCount(), 10U);
}

TEST_F(ClientTableTest, RemembersABoundedNumberOfStrangersAndStillServesClients) {
  table.hello(phone(1), now);
  for (std::uint32_t address = 0; address < 100'000; ++address) {
    table.ping({.address = address, .port = 7}, now);
  }
  EXPECT_EQ(table.lastSeenCount(), ClientTable::kMaxMerelySeen + 1);

  EXPECT_EQ(table.hello(phone(2), now + 1s), HelloResult::kNewClient);
  table.ping(phone(1), now + 1s);
  EXPECT_EQ(table.expire(now + 9s).keys, ClientTable::kMaxMerelySeen);
  EXPECT_THAT(table.clients(), UnorderedElementsAre(phone(1), phone(2)));
  table.clear();
  EXPECT_EQ(table.lastSeenCount(), 0U);
}

}  // namespace
}  // namespace quorin::wifi
