#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

/// Which UDP ports of this machine are free, and who holds those that are not. Any thread.
namespace quorin::network {

/// The error that binding `port` on all addresses would give now; none when it is free.
std::error_code bindUdpPort(std::uint16_t port);

/// The first free port from `first` on, of the next hundred.
std::optional<std::uint16_t> freeUdpPortFrom(int first);

struct PortHolder {
  std::string program;  ///< such as "quorin-stream"; empty if unknown
  std::string user;     ///< login name, else the number
  bool isOwnUser = false;
  std::size_t peers = 0;  ///< number of its connected sockets, one per client

  friend bool operator==(const PortHolder&, const PortHolder&) = default;
};

/// None when the port is free. Another user's sockets cannot be matched to a process without
/// privileges: if that user runs a program called `likely`, it is assumed to be the holder.
///
/// Reads the tables of the system and its users, which may take some hundredths of a second or,
/// with users from the network, longer.
std::optional<PortHolder> holderOfUdpPort(std::uint16_t port, std::string_view likely);

}  // namespace quorin::network
