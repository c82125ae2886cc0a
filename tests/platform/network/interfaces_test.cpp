#include "platform/network/interfaces.h"

#include <gmock/gmock.h>

namespace quorin::network {
namespace {

using ::testing::Contains;

TEST(Interfaces, ListTheLoopbackAsItIs) {
  const auto list = listInterfaceAddresses();
  ASSERT_TRUE(list) << list.error().message();
  EXPECT_THAT(*list, Contains(InterfaceAddress{.name = "lo",
                                               .address = "127.0.0.1",
                                               .isUp = true,
                                               .isRunning = true,
                                               .subnet = {0x7F000001, 0xFF000000}}));
}

}  // namespace
}  // namespace quorin::network
