#pragma once

#include "measure/arrival_statistics.h"
#include "platform/posix/file_descriptor.h"
#include "wire/endpoint.h"

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

struct StampedBytes {
  Nanoseconds arrived;   ///< the kernel's stamp, CLOCK_REALTIME; without one the time of reading
  std::size_t size = 0;  ///< 0 from a stream that has ended
};

/// One receive into `space` from a socket with SO_TIMESTAMPNS; none when it fails, with the reason
/// in `errno`.
std::optional<StampedBytes> receiveStamped(int socket, std::span<std::byte> space);

/// A UDP socket whose datagrams carry the kernel's time of arrival, so that it does not matter how
/// late a busy receiver gets to read them. Never blocks.
class StampedSocket {
 public:
  /// Sends to and receives from `peer` only. Errors are sentences for the user.
  static std::expected<StampedSocket, std::string> connectTo(const wire::Endpoint& peer,
                                                             const wire::Endpoint& own = {});
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
