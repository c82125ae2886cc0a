#include "platform/network/datagram_socket.h"

#include <netinet/ip.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace quorin::network {
namespace {

// DSCP EF, the voice queue of Wi-Fi access points; the two lowest bits are not part of it.
constexpr int kExpeditedForwarding = 46 << 2;

std::error_code lastError() {
  return {errno, std::generic_category()};
}

std::error_code setOption(const posix::FileDescriptor& socket, int level, int name, int value) {
  if (::setsockopt(socket.get(), level, name, &value, sizeof value) == 0) return {};
  return lastError();
}

using AddressCall = int (*)(int, const sockaddr*, socklen_t);

std::error_code withAddress(AddressCall call, const posix::FileDescriptor& socket,
                            const wire::Endpoint& endpoint) {
  const auto address = endpoint.socketAddress();
  if (call(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
    return {};
  }
  return lastError();
}

/// One datagram, its other end, and the local address that it came to or leaves from.
struct Message {
  explicit Message(std::span<char> buffer)
      : payload{.iov_base = buffer.data(), .iov_len = buffer.size()} {
    header.msg_name = &peer;
    header.msg_namelen = sizeof peer;
    header.msg_iov = &payload;
    header.msg_iovlen = 1;
    header.msg_control = control.data();
    header.msg_controllen = control.size();
  }

  sockaddr_in peer{};
  iovec payload;
  alignas(cmsghdr) std::array<std::byte, CMSG_SPACE(sizeof(in_pktinfo))> control{};
  msghdr header{};
};

}  // namespace

std::expected<DatagramSocket, std::error_code> DatagramSocket::open() {
  posix::FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket) return std::unexpected(lastError());
  if (const auto error = setOption(socket, IPPROTO_IP, IP_PKTINFO, 1)) {
    return std::unexpected(error);
  }
  return DatagramSocket(std::move(socket));
}

std::error_code DatagramSocket::bind(std::uint16_t port) {
  const wire::Endpoint everywhere{.address = INADDR_ANY, .port = port};
  if (const auto error = withAddress(::bind, socket_, everywhere)) return error;
  // Only after bind: with the option on both, a second server would bind the same port.
  return setOption(socket_, SOL_SOCKET, SO_REUSEPORT, 1);
}

std::error_code DatagramSocket::connect(const wire::Endpoint& local, const wire::Endpoint& peer) {
  if (const auto error = setOption(socket_, SOL_SOCKET, SO_REUSEPORT, 1)) return error;
  if (const auto error = setOption(socket_, IPPROTO_IP, IP_TOS, kExpeditedForwarding)) return error;
  if (const auto error = withAddress(::bind, socket_, local)) return error;
  return withAddress(::connect, socket_, peer);
}

wire::Endpoint DatagramSocket::localEndpoint() const {
  sockaddr_in own{};
  socklen_t length = sizeof own;
  ::getsockname(socket_.get(), reinterpret_cast<sockaddr*>(&own), &length);
  return wire::Endpoint::of(own);
}

std::expected<DatagramSocket::Received, std::error_code> DatagramSocket::receive(
    std::span<char> buffer) const {
  Message message(buffer);
  const auto length = ::recvmsg(socket_.get(), &message.header, 0);
  if (length < 0) return std::unexpected(lastError());

  Received received{.length = static_cast<std::size_t>(length),
                    .source = wire::Endpoint::of(message.peer)};
  const auto* entry = CMSG_FIRSTHDR(&message.header);
  if (entry != nullptr && entry->cmsg_level == IPPROTO_IP && entry->cmsg_type == IP_PKTINFO) {
    in_pktinfo info{};
    std::memcpy(&info, CMSG_DATA(entry), sizeof info);
    received.local = ntohl(info.ipi_spec_dst.s_addr);
  }
  return received;
}

std::error_code DatagramSocket::send(std::span<const std::byte> datagram) const {
  const auto sent = ::send(socket_.get(), datagram.data(), datagram.size(), 0);
  return sent < 0 ? lastError() : std::error_code();
}

std::error_code DatagramSocket::sendTo(const wire::Endpoint& peer, std::uint32_t local,
                                       std::span<const std::byte> datagram) const {
  // The system's structure is not const-correct; it only reads what that points to.
  Message message(
      {const_cast<char*>(reinterpret_cast<const char*>(datagram.data())), datagram.size()});
  message.peer = peer.socketAddress();
  auto* entry = CMSG_FIRSTHDR(&message.header);
  entry->cmsg_level = IPPROTO_IP;
  entry->cmsg_type = IP_PKTINFO;
  entry->cmsg_len = CMSG_LEN(sizeof(in_pktinfo));
  const in_pktinfo info{.ipi_ifindex = 0, .ipi_spec_dst = {htonl(local)}, .ipi_addr = {}};
  std::memcpy(CMSG_DATA(entry), &info, sizeof info);
  return ::sendmsg(socket_.get(), &message.header, 0) < 0 ? lastError() : std::error_code();
}

}  // namespace quorin::network
