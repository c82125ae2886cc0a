#pragma once

#include <expected>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

/// What the system knows about its network interfaces, as plain values.
namespace quorin::network {

/// One IPv4 address of one interface; an interface with several has several entries.
struct InterfaceAddress {
  std::string name;        ///< as the system writes it: "enp3s0", "wlan0", "lo"
  std::string address;     ///< dotted-decimal IPv4
  bool isUp = false;       ///< switched on
  bool isRunning = false;  ///< has a carrier: a cable, an association

  friend bool operator==(const InterfaceAddress&, const InterfaceAddress&) = default;
};

/// All IPv4 addresses of this machine in the order of the system's list; interfaces without one
/// are left out. Any thread; asks the kernel anew each time, which takes well under a
/// millisecond. An empty list is not an error.
std::expected<std::vector<InterfaceAddress>, std::error_code> listInterfaceAddresses();

/// True for a wired or wireless interface of this computer, told by the names that udev and the
/// kernel give them: "en...", "eth..." or "wl...". Tunnels, bridges and containers' interfaces
/// (tun0, wg0, br-1a2b, docker0, veth12) have none of these.
bool isEthernetOrWifi(std::string_view interfaceName);

}  // namespace quorin::network
