#pragma once

#include "measure/arrival_statistics.h"
#include "platform/posix/file_descriptor.h"
#include "wire/client_key.h"

#include <cstddef>
#include <expected>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorin::measure {

struct Datagram {
  Nanoseconds arrived;               ///< CLOCK_REALTIME
  std::span<const std::byte> bytes;  ///< valid until the next `receive`
};

/// A UDP socket whose datagrams carry the kernel's time of arrival, so that it does not matter how
/// late a busy receiver gets to read them. Never blocks.
class StampedSocket {
 public:
  /// Talks to `peer` and hears nobody else. Errors are sentences for the user.
  static std::expected<StampedSocket, std::string> connectTo(const wire::ClientKey& peer);
  /// Hears what is sent to this port of 127.0.0.1.
  static std::expected<StampedSocket, std::string> bindTo(std::uint16_t port);

  int descriptor() const { return socket_.get(); }

  std::optional<Datagram> receive();

  /// To the peer. Nothing is reported: what is lost is lost.
  void send(std::string_view text);

 private:
  explicit StampedSocket(posix::FileDescriptor socket);

  posix::FileDescriptor socket_;
  std::vector<std::byte> buffer_;
};

}  // namespace quorin::measure
