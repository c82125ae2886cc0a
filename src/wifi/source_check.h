#pragma once

#include "platform/network/interfaces.h"
#include "wire/endpoint.h"

#include <span>

namespace quorin::wifi {

/// Whether a phone can have sent a datagram from `source` to `asked`, an address of this computer
/// and the server's port. Anybody can write any source address on a datagram, and would have us
/// send sound there: so it must be a host's address, not the server's own, and either private or
/// on a network of ours.
bool canBeAPhone(const wire::Endpoint& source, const wire::Endpoint& asked,
                 std::span<const network::Subnet> ownNetworks);

}  // namespace quorin::wifi
