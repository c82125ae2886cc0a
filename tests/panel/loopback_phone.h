#pragma once

#include "platform/posix/file_descriptor.h"
#include "wire/client_key.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorin::panel {

/// A client on this computer: a real socket that talks to one port.
class LoopbackPhone {
 public:
  explicit LoopbackPhone(std::uint16_t serverPort)
      : fd_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    const timeval patience{.tv_sec = 5, .tv_usec = 0};
    ::setsockopt(fd_.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    const auto server = wire::ClientKey{INADDR_LOOPBACK, serverPort}.socketAddress();
    ::connect(fd_.get(), reinterpret_cast<const sockaddr*>(&server), sizeof server);
  }

  void says(std::string_view text) const {
    [[maybe_unused]] const auto sent = ::send(fd_.get(), text.data(), text.size(), MSG_NOSIGNAL);
  }

  /// The next datagram; none when nothing comes for a long while.
  std::optional<std::string> hears() const { return receive(0); }
  /// The next datagram that is there already.
  std::optional<std::string> heard() const { return receive(MSG_DONTWAIT); }

  std::string key() const {
    sockaddr_in own{};
    socklen_t length = sizeof own;
    ::getsockname(fd_.get(), reinterpret_cast<sockaddr*>(&own), &length);
    return wire::ClientKey::of(own).text();
  }

 private:
  std::optional<std::string> receive(int flags) const {
    std::array<char, 65536> buffer;
    const auto got = ::recv(fd_.get(), buffer.data(), buffer.size(), flags);
    if (got < 0) return std::nullopt;
    return std::string(buffer.data(), static_cast<std::size_t>(got));
  }

  posix::FileDescriptor fd_;
};

}  // namespace quorin::panel
