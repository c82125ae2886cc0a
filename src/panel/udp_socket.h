#pragma once

#include "core/log.h"
#include "core/scheduler.h"
#include "platform/network/datagram_socket.h"
#include "wire/endpoint.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <shared_mutex>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

namespace quorin::panel {

/// Why a socket could not be opened.
struct SocketError {
  int code = 0;             ///< in the domain "UDPSocket"
  std::string description;  ///< what could not be done
  std::error_condition reason{};

  std::string text() const;  ///< all of it in one line
};

/// The server's socket as the server needs it. Clients are named by keys, "a.b.c.d:port".
class DatagramSocket {
 public:
  /// A received text and its sender's key.
  using MessageHandler = std::function<void(const std::string& text, const std::string& key)>;

  virtual ~DatagramSocket() = default;
  DatagramSocket(const DatagramSocket&) = delete;
  DatagramSocket& operator=(const DatagramSocket&) = delete;

  /// `handler` runs on the main queue, once per datagram, in order of arrival. Main queue, before
  /// `start`.
  virtual void setOnMessageReceived(MessageHandler handler) = 0;

  /// Binds and begins to receive. Once, on the main queue.
  virtual std::expected<void, SocketError> start() = 0;

  /// Any thread; never waits and allocates nothing. Errors (closed, refused) are ignored.
  virtual void send(std::span<const std::byte> bytes, const wire::Endpoint& address) = 0;

  /// Main queue. When it returns the port is free.
  virtual void close() = 0;

  /// Malformed keys are ignored too.
  void send(std::string_view text, std::string_view key);

 protected:
  DatagramSocket() = default;
};

/// Where a key's datagrams go: two pieces around ":" (empty ones do not count), the second a
/// decimal port. None where that fails. A first piece that is no dotted address means 0.0.0.0.
std::optional<wire::Endpoint> resolveClientKey(std::string_view key);

/// A UDP socket on all local IPv4 addresses, read by a blocking loop on a queue of its own.
///
/// Ignores datagrams that are empty, not UTF-8, or cannot come from a phone: without a source port,
/// from an address that is not a host's, or from this socket itself (a reply would loop).
class UDPSocket final : public DatagramSocket {
 public:
  static constexpr std::size_t kReceiveBytes = 1024;  ///< a longer datagram is cut to these
  static constexpr int kSocketBufferBytes = 1024 * 1024;
  static constexpr std::chrono::milliseconds kReceiveTimeout{1000};
  /// Max datagrams pending on the main queue; more are dropped, so that a flood costs no memory.
  static constexpr int kMaxPending = 1024;

  /// `scheduler` must outlive it. Port 0 means any that is free.
  UDPSocket(dispatch::Scheduler& scheduler, std::uint16_t port, log::PrintLine print);
  ~UDPSocket() override;

  void setOnMessageReceived(MessageHandler handler) override;
  std::expected<void, SocketError> start() override;
  using DatagramSocket::send;
  void send(std::span<const std::byte> bytes, const wire::Endpoint& address) override;
  void close() override;

  std::uint16_t port() const { return port_; }  ///< once started: the one that is bound

 private:
  struct Inbox;

  void receiveOnce(const network::DatagramSocket& socket);
  void deliver(std::string text, std::string key);
  bool canBePhone(const wire::Endpoint& source) const;

  dispatch::Scheduler& scheduler_;
  log::PrintLine print_;
  std::uint16_t port_;

  /// Guards `socket_`. Shared for sending, so that senders never wait for each other; exclusive for
  /// open and close. The receive loop needs no lock: it ends before the descriptor is closed.
  std::shared_mutex socketMutex_;
  std::optional<network::DatagramSocket> socket_;
  std::atomic<bool> isListening_ = false;

  std::shared_ptr<Inbox> inbox_;
  std::unique_ptr<dispatch::SerialQueue> receiveQueue_;
};

/// A real `UDPSocket`; its receive errors go to the console.
std::shared_ptr<DatagramSocket> makeUDPSocket(dispatch::Scheduler& scheduler, std::uint16_t port);

}  // namespace quorin::panel
