#pragma once

#include "app/diagnosis.h"

#include <cstdint>
#include <optional>
#include <string>

namespace quorin::app {

/// Asks this machine, with the port to listen on and the user's choice of address. Needs a
/// QCoreApplication, whose events it lets run meanwhile; takes at most some seconds.
Facts findFacts(std::uint16_t port, const std::optional<std::string>& address);

}  // namespace quorin::app
