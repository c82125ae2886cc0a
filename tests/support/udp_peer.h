#pragma once

#include "platform/posix/file_descriptor.h"
#include "wire/endpoint.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorin::test {

/// A socket on the loopback address: a phone, or a program that phones talk to.
class UdpPeer {
 public:
  /// Talks to that port, or to the latest sender.
  explicit UdpPeer(std::uint16_t port = 0) : UdpPeer(wire::Endpoint{INADDR_LOOPBACK, port}) {}
  explicit UdpPeer(const wire::Endpoint& peer) : peer_(peer.socketAddress()) {
    const timeval timeout{.tv_sec = 5, .tv_usec = 0};
    ::setsockopt(fd_.get(), SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    const auto anyPort = wire::Endpoint{peer.address, 0}.socketAddress();
    ::bind(fd_.get(), reinterpret_cast<const sockaddr*>(&anyPort), sizeof anyPort);
  }

  void says(std::string_view text) const {
    ::sendto(fd_.get(), text.data(), text.size(), MSG_NOSIGNAL,
             reinterpret_cast<const sockaddr*>(&peer_), sizeof peer_);
  }

  /// The next datagram; none when nothing comes for a long while.
  std::optional<std::string> hears() { return receive(0); }
  /// The next datagram that is there already.
  std::optional<std::string> heard() { return receive(MSG_DONTWAIT); }

  wire::Endpoint endpoint() const {
    sockaddr_in own{};
    socklen_t length = sizeof own;
    ::getsockname(fd_.get(), reinterpret_cast<sockaddr*>(&own), &length);
    return wire::Endpoint::of(own);
  }
  /// Its own "a.b.c.d:port".
  std::string key() const { return endpoint().text(); }

 private:
  std::optional<std::string> receive(int flags) {
    std::array<char, 65536> buffer;
    socklen_t length = sizeof peer_;
    const auto got = ::recvfrom(fd_.get(), buffer.data(), buffer.size(), flags,
                                reinterpret_cast<sockaddr*>(&peer_), &length);
    if (got < 0) return std::nullopt;
    return std::string(buffer.data(), static_cast<std::size_t>(got));
  }

  posix::FileDescriptor fd_{::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
  sockaddr_in peer_;
};

}  // namespace quorin::test
