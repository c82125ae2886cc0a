#include "platform/network/udp_ports.h"

#include "platform/network/datagram_socket.h"

#include <gtest/gtest.h>

#include <fstream>

namespace quorin::network {
namespace {

TEST(UdpPorts, KnowTheirHolderAndAFreeOne) {
  const auto port = freeUdpPortFrom(20'000).value();
  EXPECT_FALSE(bindUdpPort(port));
  EXPECT_FALSE(holderOfUdpPort(port, "nobody"));

  auto held = DatagramSocket::open().value();
  ASSERT_FALSE(held.bind(port));
  EXPECT_EQ(bindUdpPort(port), std::errc::address_in_use);
  EXPECT_GT(freeUdpPortFrom(port).value(), port);
  std::string own;
  std::getline(std::ifstream("/proc/self/comm"), own);
  const auto holder = holderOfUdpPort(port, "nobody").value();
  EXPECT_EQ(holder.program, own);
  EXPECT_TRUE(holder.isOwnUser);
  EXPECT_FALSE(holder.user.empty());
  EXPECT_EQ(holder.peers, 0U);

  auto peer = DatagramSocket::open().value();
  ASSERT_FALSE(peer.connect({INADDR_LOOPBACK, port}, {INADDR_LOOPBACK, 9}));
  EXPECT_EQ(peer.localEndpoint(), (wire::Endpoint{INADDR_LOOPBACK, port}));
  EXPECT_EQ(holderOfUdpPort(port, "nobody")->peers, 1U);
}

}  // namespace
}  // namespace quorin::network
