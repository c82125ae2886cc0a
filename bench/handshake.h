#pragma once

#include "wire/endpoint.h"

#include <chrono>
#include <expected>
#include <string>
#include <vector>

namespace quorin::bench {

/// How long a server takes from a new phone's HELLO to its READY, in milliseconds, `tries` times,
/// one phone after the other, while `others` phones listen. The error is a sentence for the user.
std::expected<std::vector<float>, std::string> helloToReadyMs(const wire::Endpoint& server,
                                                              int tries, int others);

}  // namespace quorin::bench
