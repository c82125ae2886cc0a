#pragma once

#include "sound/tracks.h"

#include <chrono>
#include <cstddef>
#include <expected>
#include <optional>
#include <string>
#include <vector>

namespace quorin::sound {

/// How much a player keeps ahead of the sink. Nothing: what a player gets that asks for nothing,
/// about 2 s.
using Buffering = std::optional<std::chrono::milliseconds>;

struct Played {
  /// For each tick the moment at which the sink played it, in CLOCK_REALTIME, by the sound server's
  /// own report of how far the stream was heard.
  std::vector<std::chrono::nanoseconds> ticks;
  /// How often the player itself was too late: every time tears the sound, whatever records it.
  std::size_t timesLate = 0;
};

/// Plays the track to the end through the sink of that name. Blocks for as long as the track
/// lasts. The error is a sentence for the user.
std::expected<Played, std::string> play(const Track& track, const std::string& sink,
                                        Buffering buffering);

}  // namespace quorin::sound
