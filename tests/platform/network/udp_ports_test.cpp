#include "platform/network/udp_ports.h"

#include "platform/posix/file_descriptor.h"

#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <fstream>

namespace quorin::network {
namespace {

posix::FileDescriptor boundTo(std::uint16_t port) {
  posix::FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  const auto* generic = reinterpret_cast<const sockaddr*>(&address);
  const int on = 1;
  if (::bind(socket.get(), generic, sizeof address) != 0) return {};
  ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEPORT, &on, sizeof on);
  return socket;
}

TEST(UdpPorts, TellWhoHoldsThemAndWhichIsFree) {
  const auto port = freeUdpPortFrom(20'000).value();
  EXPECT_FALSE(bindUdpPort(port));
  EXPECT_FALSE(holderOfUdpPort(port, "nobody"));

  const auto held = boundTo(port);
  EXPECT_EQ(bindUdpPort(port), std::errc::address_in_use);
  EXPECT_GT(freeUdpPortFrom(port).value(), port);
  std::string own;
  std::getline(std::ifstream("/proc/self/comm"), own);
  const auto holder = holderOfUdpPort(port, "nobody").value();
  EXPECT_EQ(holder.program, own);
  EXPECT_TRUE(holder.isOwnUser);
  EXPECT_FALSE(holder.user.empty());
  EXPECT_EQ(holder.peers, 0U);

  sockaddr_in peer{};
  peer.sin_family = AF_INET;
  peer.sin_port = htons(9);
  peer.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(::connect(held.get(), reinterpret_cast<const sockaddr*>(&peer), sizeof peer), 0);
  EXPECT_EQ(holderOfUdpPort(port, "nobody")->peers, 1U);
}

}  // namespace
}  // namespace quorin::network
