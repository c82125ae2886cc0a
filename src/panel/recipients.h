#pragma once

#include "core/snapshot.h"

#include <netinet/in.h>

#include <vector>

namespace quorin::panel {

/// Where every chunk is sent: the addresses of all clients, resolved when a client is added so that
/// nobody has to do it for each chunk. Never null.
using RecipientList = std::vector<sockaddr_in>;
using Recipients = dispatch::Snapshot<RecipientList>;

}  // namespace quorin::panel
