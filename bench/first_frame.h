#pragma once

#include <expected>
#include <string>
#include <vector>

namespace quorin::bench {

/// Starts a program with Qt widgets `tries` times, one after the other, and measures the
/// milliseconds from the start of its process to the first picture it hands to the screen. Each
/// time the program is asked to end and waited for. The environment is this process's.
std::expected<std::vector<float>, std::string> firstFrameMs(const std::string& program, int tries);

}  // namespace quorin::bench
