#pragma once

#include "platform/network/interfaces.h"
#include "wire/endpoint.h"

#include <span>

namespace quorin::wifi {

/// Whether a phone can have sent a datagram from `source` to `asked`, an address of this computer
/// and the server's port. A forged source would direct the stream at a victim: so it must be a
/// host's address, not the server's own, and either private or on a network of ours.
bool isPlausibleClient(const wire::Endpoint& source, const wire::Endpoint& asked,
                       std::span<const network::Subnet> ownNetworks);

}  // namespace quorin::wifi
