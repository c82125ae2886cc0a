#pragma once

#include "platform/network/interfaces.h"

#include <optional>
#include <span>
#include <string>

namespace quorin::panel {

/// Finds this computer's address in the local network. Any thread; sends nothing.
struct NetworkUtils {
  /// The address that this computer would send from to the Internet, on any interface; without a
  /// route, `addressOfMainInterface`.
  static std::optional<std::string> getLocalIPAddress();

  /// The last address in the list's order of the first wired or wireless interface that is up and
  /// connected.
  static std::optional<std::string> addressOfMainInterface(
      std::span<const network::InterfaceAddress> interfaces);
};

}  // namespace quorin::panel
