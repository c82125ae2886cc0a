#pragma once

#include <netinet/in.h>

#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace quorin::wire {

/// Who a UDP client is: its IPv4 address and source port together, both in host byte order.
/// Two sockets on one phone are two clients.
struct ClientKey {
  std::uint32_t address = 0;
  std::uint16_t port = 0;

  static ClientKey of(const sockaddr_in& source);

  /// Reads "a.b.c.d:port" as `text()` writes it; nothing else parses.
  static std::optional<ClientKey> parse(std::string_view text);

  /// "%s:%d" of the dotted-decimal address and the decimal port.
  std::string text() const;

  sockaddr_in socketAddress() const;

  friend auto operator<=>(const ClientKey&, const ClientKey&) = default;
};

}  // namespace quorin::wire

template <>
struct std::hash<quorin::wire::ClientKey> {
  std::size_t operator()(const quorin::wire::ClientKey& key) const noexcept {
    return std::hash<std::uint64_t>{}(std::uint64_t{key.address} << 16U | key.port);
  }
};
