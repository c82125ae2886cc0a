#pragma once

#include <chrono>
#include <thread>

namespace quorin::test {

/// For real processes and threads: true as soon as `condition` holds, false when it does not
/// within `limit`.
bool eventually(auto&& condition, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

}  // namespace quorin::test
