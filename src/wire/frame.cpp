#include "wire/frame.h"

#include <algorithm>
#include <cassert>

namespace quorin::wire {

std::uint32_t readBigEndian32(std::span<const std::byte, 4> bytes) {
  std::uint32_t value = 0;
  for (const auto byte : bytes) value = value << 8U | std::to_integer<std::uint32_t>(byte);
  return value;
}

std::array<std::byte, 4> bigEndian32(std::uint32_t value) {
  return {static_cast<std::byte>(value >> 24U), static_cast<std::byte>(value >> 16U),
          static_cast<std::byte>(value >> 8U), static_cast<std::byte>(value)};
}

std::array<std::byte, kFrameHeaderBytes> encodeFrameHeader(const FrameHeader& header) {
  std::array<std::byte, kFrameHeaderBytes> bytes{};
  auto at = bytes.begin();
  for (const auto field : {kFrameVersion, header.type, header.tag, header.payloadSize}) {
    at = std::ranges::copy(bigEndian32(field), at).out;
  }
  return bytes;
}

std::vector<std::byte> encodeFrame(std::uint32_t type, std::uint32_t tag,
                                   std::span<const std::byte> payload) {
  assert(payload.size() <= kMaxPayloadBytes);
  const auto header = encodeFrameHeader({type, tag, static_cast<std::uint32_t>(payload.size())});
  std::vector<std::byte> frame(header.size() + payload.size());
  std::ranges::copy(payload, std::ranges::copy(header, frame.begin()).out);
  return frame;
}

}  // namespace quorin::wire
