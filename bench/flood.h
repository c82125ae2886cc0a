#pragma once

#include "wire/endpoint.h"

#include <chrono>
#include <cstdint>

namespace quorin::bench {

/// Sends a server what no client sends: rubbish, requests from ever new ports, empty datagrams; as
/// near to `perSecond` datagrams as this machine manages. Returns how many left.
std::uint64_t flood(const wire::Endpoint& server, int perSecond, std::chrono::seconds duration);

}  // namespace quorin::bench
