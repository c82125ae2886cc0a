#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
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

  bool isLive() const { return isUp && isRunning; }
};

/// All IPv4 addresses of this machine in the order of the system's list; none if that cannot be
/// read. Any thread; asks the kernel each time, which takes well under a millisecond.
std::vector<InterfaceAddress> listInterfaceAddresses();

/// The wired or wireless interface of the IPv4 default route; of several routes, the one with the
/// lowest metric. Any thread, as quick as the list.
std::optional<std::string> defaultRouteInterface();
/// The same, from a table in the format of /proc/net/route.
std::optional<std::string> defaultRouteInterface(std::istream& routes);

/// True for a wired or wireless interface of this computer, by the names that udev and the kernel
/// give them: "en...", "eth..." or "wl...". Tunnels, bridges and containers (tun0, wg0, br-1a2b,
/// docker0, veth12) are named otherwise.
bool isEthernetOrWifi(std::string_view interfaceName);
/// True for a wireless one: "wl...".
bool isWifi(std::string_view interfaceName);

}  // namespace quorin::network
