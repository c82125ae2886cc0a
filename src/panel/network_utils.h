#pragma once

#include "platform/network/interfaces.h"

#include <optional>
#include <span>
#include <string>

namespace quorin::panel {

/// Finds this computer's address in the local network. Any thread; sends nothing.
struct NetworkUtils {
  static std::optional<std::string> getLocalIPAddress() {
    return localAddress(network::listInterfaceAddresses(), routedAddress());
  }

  /// `routed` if an interface that is up and connected has it; else the last address, in the list's
  /// order, of the first such interface that is wired or wireless.
  static std::optional<std::string> localAddress(
      std::span<const network::InterfaceAddress> interfaces,
      const std::optional<std::string>& routed);

  /// The address that this computer would send from to the Internet, on any interface.
  static std::optional<std::string> routedAddress();
};

}  // namespace quorin::panel
