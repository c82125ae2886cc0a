#include "measure/stamped_socket.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <system_error>

namespace quorin::measure {
namespace {

Nanoseconds nanoseconds(const timespec& time) {
  return std::chrono::seconds(time.tv_sec) + Nanoseconds(time.tv_nsec);
}

Nanoseconds stampOf(msghdr& message) {
  timespec time{};
  for (auto* part = CMSG_FIRSTHDR(&message); part != nullptr; part = CMSG_NXTHDR(&message, part)) {
    if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_TIMESTAMPNS) continue;
    std::memcpy(&time, CMSG_DATA(part), sizeof time);
    return nanoseconds(time);
  }
  ::clock_gettime(CLOCK_REALTIME, &time);
  return nanoseconds(time);
}

std::unexpected<std::string> failure(const std::string& what) {
  return std::unexpected(what + ": " + std::generic_category().message(errno) + ".");
}

posix::FileDescriptor openSocket() {
  posix::FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  const int on = 1;
  ::setsockopt(socket.get(), SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on);
  const int aSecondAndMore = 512 * 1024;
  ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVBUF, &aSecondAndMore, sizeof aSecondAndMore);
  return socket;
}

}  // namespace

std::optional<StampedBytes> receiveStamped(int socket, std::span<std::byte> space) {
  alignas(cmsghdr) std::array<std::byte, 256> control;
  iovec place{.iov_base = space.data(), .iov_len = space.size()};
  msghdr message{};
  message.msg_iov = &place;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  const auto size = ::recvmsg(socket, &message, 0);
  if (size < 0) return std::nullopt;
  return StampedBytes{.arrived = stampOf(message), .size = static_cast<std::size_t>(size)};
}

StampedSocket::StampedSocket(posix::FileDescriptor socket)
    : socket_(std::move(socket)), buffer_(65536) {}

std::expected<StampedSocket, std::string> StampedSocket::connectTo(const wire::Endpoint& peer,
                                                                   const wire::Endpoint& own) {
  auto socket = openSocket();
  if (!socket) return failure("Cannot open a UDP socket");
  const auto from = own.socketAddress();
  const auto address = peer.socketAddress();
  if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&from), sizeof from) != 0 ||
      ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return failure("Cannot reach " + peer.text());
  }
  return StampedSocket(std::move(socket));
}

std::expected<StampedSocket, std::string> StampedSocket::bindTo(std::uint16_t port) {
  auto socket = openSocket();
  if (!socket) return failure("Cannot open a UDP socket");
  const wire::Endpoint here{.address = INADDR_LOOPBACK, .port = port};
  const auto address = here.socketAddress();
  if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return failure("Cannot listen on " + here.text());
  }
  return StampedSocket(std::move(socket));
}

std::optional<Datagram> StampedSocket::receive() {
  // An error here reports the fate of an earlier datagram; a few may stand before the next one.
  for (int attempt = 0; attempt < 8; ++attempt) {
    if (const auto received = receiveStamped(socket_.get(), buffer_)) {
      return Datagram{.arrived = received->arrived,
                      .bytes = std::span(buffer_).first(received->size)};
    }
    if (errno == EAGAIN || errno == EWOULDBLOCK) return std::nullopt;
  }
  return std::nullopt;
}

void StampedSocket::send(std::string_view text) {
  // As above: the first error may be an old one, so one more try.
  for (int attempt = 0; attempt < 2; ++attempt) {
    if (::send(socket_.get(), text.data(), text.size(), MSG_NOSIGNAL) >= 0) return;
  }
}

}  // namespace quorin::measure
