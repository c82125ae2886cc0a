#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>

namespace quorin::wire {

/// The one unit of sound of this system: 20 ms, mono, 44100 Hz, 32-bit float in the machine's
/// (little-endian) byte order, nominal range -1 to +1, not clamped.
inline constexpr unsigned kSampleRate = 44100;
inline constexpr std::size_t kChunkFrames = 882;
inline constexpr std::size_t kChunkBytes = kChunkFrames * sizeof(float);
inline constexpr std::chrono::milliseconds kChunkDuration{20};

static_assert(kChunkFrames * 1000 == kSampleRate * 20U);
static_assert(kChunkBytes == 3528);

using AudioChunk = std::array<float, kChunkFrames>;
using AudioChunkView = std::span<const float, kChunkFrames>;

/// Converts each sample to signed 16 bits: clipped to +-1, times 32767 in single precision,
/// rounded to nearest with halves to even. Not-a-number becomes 0, and -32768 never occurs.
///
/// `out` is as long as `samples` and does not overlap it. Any thread in the default rounding mode.
void convertToPcm16(std::span<const float> samples, std::span<std::int16_t> out);

}  // namespace quorin::wire
