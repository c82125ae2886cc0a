#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// Frames: the units of a channel's byte stream.
///
///     0          4          8          12         16                 16 + size
///     | version  | type     | tag      | size     | payload          |
///     | 00000001 | 32 bits  | 32 bits  | 32 bits  | `size` bytes     |
///
/// All four fields are unsigned and big-endian. What types, tags and payloads mean is up to the
/// two ends.
namespace quorin::wire {

inline constexpr std::uint32_t kFrameVersion = 1;
inline constexpr std::size_t kFrameHeaderBytes = 16;

/// 1 MiB: a frame that announces more ends its channel.
inline constexpr std::uint32_t kMaxPayloadBytes = 1U << 20U;

struct FrameHeader {
  std::uint32_t type = 0;
  std::uint32_t tag = 0;
  std::uint32_t payloadSize = 0;

  friend bool operator==(const FrameHeader&, const FrameHeader&) = default;
};

std::uint32_t readBigEndian32(std::span<const std::byte, 4> bytes);
std::array<std::byte, 4> bigEndian32(std::uint32_t value);

std::array<std::byte, kFrameHeaderBytes> encodeFrameHeader(const FrameHeader& header);

/// The whole frame; `payload` at most `kMaxPayloadBytes`.
std::vector<std::byte> encodeFrame(std::uint32_t type, std::uint32_t tag,
                                   std::span<const std::byte> payload);

}  // namespace quorin::wire
