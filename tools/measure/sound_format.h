#pragma once

#include "wire/audio_chunk.h"

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

/// Pieces with which the project's tools judge a stream of sound. But for the socket all pure:
/// bytes, samples and times go in as values. Samples are mono floats at 44100 Hz, nominal range -1
/// to +1.
namespace quorin::measure {

enum class SampleFormat {
  kInt16,    ///< 882 signed 16-bit little-endian samples, 1764 bytes
  kFloat32,  ///< 882 little-endian IEEE floats, 3528 bytes
};

using wire::kSampleRate;
inline constexpr std::size_t kInt16Bytes = wire::kChunkFrames * 2;
inline constexpr std::size_t kFloatBytes = wire::kChunkBytes;

/// Sound carries no marker: its length alone tells what it is. Nothing for any other length.
std::optional<SampleFormat> formatOfLength(std::size_t bytes);

/// The samples of `bytes`, which hold whole samples of `format`. Both 32767 and -32767 come out
/// as full scale, the way the sender scaled them.
std::vector<float> decode(std::span<const std::byte> bytes, SampleFormat format);

}  // namespace quorin::measure
