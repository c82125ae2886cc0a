#pragma once

#include "sound/tracks.h"

#include <chrono>
#include <expected>
#include <string>
#include <vector>

namespace quorin::sound {

enum class Buffering {
  kLow,      ///< 20 ms, as a game or a call asks for
  kDefault,  ///< what a player gets that asks for nothing: about 2 s
};

/// Plays the track to the end through the sink of that name, and returns for each tick the moment
/// at which the sink played it, by the sound server's own report of how far the stream was heard,
/// in CLOCK_REALTIME. Blocks for as long as the track lasts. The error is a sentence for the user.
std::expected<std::vector<std::chrono::nanoseconds>, std::string> play(const Track& track,
                                                                       const std::string& sink,
                                                                       Buffering buffering);

}  // namespace quorin::sound
