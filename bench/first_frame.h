#pragma once

#include <expected>
#include <string>
#include <vector>

namespace quorin::bench {

/// Starts programs with Qt widgets `tries` times, in turns so that all see the same machine, and
/// measures the milliseconds from the start of a process to the first picture it hands to the
/// screen: one list for each program. Each time the program is asked to end and waited for. The
/// environment is this process's.
std::expected<std::vector<std::vector<float>>, std::string> firstFrameMs(
    const std::vector<std::string>& programs, int tries);

}  // namespace quorin::bench
