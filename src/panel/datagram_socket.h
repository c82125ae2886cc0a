#pragma once

#include <netinet/in.h>

#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace quorin::dispatch {
class Scheduler;
}

namespace quorin::panel {

struct SocketError {
  int code = 0;
  std::string description;  ///< what could not be done
  std::string reason;       ///< in the system's words

  /// Domain, code, description and reason in one line.
  std::string text() const;
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

  /// Any thread; never waits. Silent when it fails: closed, a malformed key, refused.
  virtual void send(std::string_view text, std::string_view key) = 0;

  /// The same bytes to every address, each in a datagram of its own. As `send`, and allocates
  /// nothing.
  virtual void sendToAll(std::span<const std::byte> bytes,
                         std::span<const sockaddr_in> addresses) = 0;

  /// Any thread but that of the handler of the receive loop. When it returns the port is free.
  virtual void close() = 0;

 protected:
  DatagramSocket() = default;
};

/// Where a key's datagrams go: two pieces around ":" (empty ones do not count), the second a
/// decimal port. None where that fails. A first piece that is no dotted address means 0.0.0.0.
std::optional<sockaddr_in> resolveClientKey(std::string_view key);

using SocketFactory =
    std::function<std::shared_ptr<DatagramSocket>(dispatch::Scheduler&, std::uint16_t port)>;

}  // namespace quorin::panel
