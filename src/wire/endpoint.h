#pragma once

#include <netinet/in.h>

#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace quorin::wire {

/// "192.168.1.7" of an IPv4 address in host byte order.
std::string addressText(std::uint32_t address);
/// Reads what `addressText` writes; nothing else parses.
std::optional<std::uint32_t> parseAddress(std::string_view text);

/// An IPv4 address and a UDP port, both in host byte order. A client is its endpoint: two sockets
/// on one phone are two clients.
struct Endpoint {
  std::uint32_t address = 0;
  std::uint16_t port = 0;

  static Endpoint of(const sockaddr_in& address);

  /// Reads "a.b.c.d:port" as `text()` writes it; nothing else parses.
  static std::optional<Endpoint> parse(std::string_view text);

  /// The client key: "%s:%d" of the dotted-decimal address and the decimal port.
  std::string text() const;

  sockaddr_in socketAddress() const;

  /// Whether a host can send from here: not from port 0, "this network" (0/8), or an address that
  /// is multicast or reserved.
  bool isHost() const { return port != 0 && address >> 24U != 0 && address < 0xE0000000; }

  friend auto operator<=>(const Endpoint&, const Endpoint&) = default;
};

}  // namespace quorin::wire

template <>
struct std::hash<quorin::wire::Endpoint> {
  std::size_t operator()(const quorin::wire::Endpoint& endpoint) const noexcept {
    return std::hash<std::uint64_t>{}(std::uint64_t{endpoint.address} << 16U | endpoint.port);
  }
};
