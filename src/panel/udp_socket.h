#pragma once

#include "core/log.h"
#include "core/scheduler.h"
#include "platform/network/datagram_socket.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace quorin::panel {

/// Why a socket could not be opened.
struct SocketError {
  int code = 0;             ///< in the domain "UDPSocket"
  std::string description;  ///< what could not be done
  std::error_code reason{};

  std::string text() const;  ///< all of it in one line
};

/// The server's socket, on all local IPv4 addresses, read on a queue of its own. Main queue, except
/// `send`.
///
/// Ignores datagrams that are empty, not UTF-8, or cannot come from a phone: from an address that
/// is not a host's, or from this socket itself (a reply would loop).
class UDPSocket {
 public:
  static constexpr std::size_t kReceiveBytes = 1024;  ///< a longer datagram is cut to these
  static constexpr int kSocketBufferBytes = 1024 * 1024;
  /// Max datagrams passed to the main queue at a time, and max that wait there; what a flood sends
  /// beyond that is dropped.
  static constexpr std::size_t kMaxBatch = 64;
  static constexpr std::size_t kMaxPending = 1024;

  /// Runs on the main queue, once per datagram, in order of arrival. Must not destroy the socket.
  using MessageHandler = std::function<void(std::string_view text, const wire::Endpoint& client)>;

  /// `scheduler` must outlive it.
  UDPSocket(dispatch::Scheduler& scheduler, std::uint16_t port, log::PrintLine print,
            MessageHandler onMessageReceived);

  /// Binds and begins to receive, until destruction frees the port. Once.
  std::expected<void, SocketError> start();

  /// Any thread, once started; never waits and allocates nothing. What the system cannot take at
  /// once is lost.
  void send(std::span<const std::byte> bytes, const wire::Endpoint& client) const;
  void send(std::string_view text, const wire::Endpoint& client) const {
    send(std::as_bytes(std::span(text)), client);
  }

 private:
  struct Message {
    std::string text;
    wire::Endpoint client;
  };

  // On `receiveQueue_`:
  void receive();
  bool receiveOnce(std::vector<Message>& messages) const;

  dispatch::Scheduler& scheduler_;
  const std::uint16_t port_;
  log::PrintLine print_;
  MessageHandler onMessageReceived_;
  std::optional<network::DatagramSocket> socket_;
  std::atomic<std::size_t> pending_ = 0;
  dispatch::Scope scope_;
  std::unique_ptr<dispatch::SerialQueue> receiveQueue_;  ///< ends before what its work uses
  std::unique_ptr<dispatch::ReadSource> readable_;
};

}  // namespace quorin::panel
