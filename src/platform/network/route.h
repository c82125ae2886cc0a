#pragma once

#include <netinet/in.h>

#include <optional>
#include <string>

namespace quorin::network {

/// The dotted address that this computer would send from to `destination`, on any interface;
/// none without a route. Any thread; sends nothing.
std::optional<std::string> sourceAddressTowards(const sockaddr_in& destination);

}  // namespace quorin::network
