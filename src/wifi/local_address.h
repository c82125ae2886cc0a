#pragma once

#include "platform/network/interfaces.h"

#include <optional>
#include <span>
#include <string>

namespace quorin::wifi {

/// The address at which a phone in the same network reaches this computer: the first in the
/// list's order that is up and running, neither loopback (127.) nor link-local (169.254.) nor
/// 0.0.0.0, on a wired or wireless interface.
std::optional<std::string> localIPv4Address(std::span<const network::InterfaceAddress> interfaces);

/// The same for this machine now; none also when the system does not tell its interfaces.
/// Any thread; quick enough for the main thread.
std::optional<std::string> localIPv4Address();

}  // namespace quorin::wifi
