#pragma once

#include "platform/posix/file_descriptor.h"
#include "wire/endpoint.h"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <span>
#include <system_error>

namespace quorin::network {

/// A non-blocking UDP socket over IPv4. Sending and receiving is safe from any thread.
///
/// A server has one socket that is bound to its port, and one more for each peer, on the same port
/// and connected. What a connected peer sends arrives on its own socket, everything else on the
/// server's. Undeliverable datagrams fill only that peer's send buffer; its socket also reports
/// ECONNREFUSED.
class DatagramSocket {
 public:
  static std::expected<DatagramSocket, std::error_code> open();

  /// Takes the port on all addresses of this machine. Fails while another socket holds it; from
  /// then on only connected sockets of the same user can be added to it.
  std::error_code bind(std::uint16_t port);

  /// Sends from `local`, an address and the port that this user's `bind` has taken, to `peer`
  /// only; marked as voice (DSCP EF). A datagram from another source that arrives during the call
  /// may end up on this socket.
  std::error_code connect(const wire::Endpoint& local, const wire::Endpoint& peer);

  int descriptor() const { return socket_.get(); }

  /// Where it is bound; once connected, the address that its datagrams leave from.
  wire::Endpoint localEndpoint() const;

  struct Received {
    std::size_t length = 0;
    wire::Endpoint source;
    /// The local destination address; the source of the reply.
    std::uint32_t local = 0;
  };
  /// One datagram, cut to the buffer; or why there is none: on a connected socket also
  /// `connection_refused`, once after the peer's port was found closed.
  std::expected<Received, std::error_code> receive(std::span<char> buffer) const;

  /// To the connected peer. What the system cannot take at once is lost.
  std::error_code send(std::span<const std::byte> datagram) const;

  /// To any peer, from the address `local` of this machine.
  std::error_code sendTo(const wire::Endpoint& peer, std::uint32_t local,
                         std::span<const std::byte> datagram) const;

 private:
  explicit DatagramSocket(posix::FileDescriptor socket) : socket_(std::move(socket)) {}

  posix::FileDescriptor socket_;
};

}  // namespace quorin::network
