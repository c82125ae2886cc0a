#pragma once

#include <cstdint>
#include <expected>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

/// What the system knows about its network interfaces, as plain values.
namespace quorin::network {

/// The network that an interface's address and mask make, in host byte order.
struct Subnet {
  std::uint32_t address = 0;  ///< the interface's own
  std::uint32_t mask = 0xFFFFFFFF;

  bool contains(std::uint32_t other) const { return ((address ^ other) & mask) == 0; }
  /// The network's first and its broadcast address; /31 and /32 have none.
  bool isBroadcast(std::uint32_t other) const;

  friend bool operator==(const Subnet&, const Subnet&) = default;
};

/// One IPv4 address of one interface; an interface with several has several entries.
struct InterfaceAddress {
  std::string name;        ///< as the system writes it: "enp3s0", "wlan0", "lo"
  std::string address;     ///< dotted-decimal IPv4
  bool isUp = false;       ///< switched on
  bool isRunning = false;  ///< has a carrier: a cable, an association
  Subnet subnet{};

  friend bool operator==(const InterfaceAddress&, const InterfaceAddress&) = default;
};

/// All IPv4 addresses of this machine in the order of the system's list; interfaces without one
/// are left out. Any thread; asks the kernel anew each time, which takes well under a
/// millisecond. An empty list is not an error.
std::expected<std::vector<InterfaceAddress>, std::error_code> listInterfaceAddresses();

/// The name of the wired or wireless interface that an IPv4 default route leads through; of several
/// the one with the lowest metric. Any thread, as quick as the list.
std::optional<std::string> defaultRouteInterface();
/// The same of a table in the format of /proc/net/route.
std::optional<std::string> defaultRouteInterface(std::istream& routes);

/// True for a wired or wireless interface of this computer, judged by the names that udev and the
/// kernel give them: "en...", "eth..." or "wl...". Tunnels, bridges and containers' interfaces
/// (tun0, wg0, br-1a2b, docker0, veth12) have none of these.
bool isEthernetOrWifi(std::string_view interfaceName);
/// True for a wireless one: "wl...".
bool isWifi(std::string_view interfaceName);

}  // namespace quorin::network
