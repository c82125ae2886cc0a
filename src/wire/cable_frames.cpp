#include "wire/cable_frames.h"

#include "wire/text.h"

#include <algorithm>
#include <utility>

namespace quorin::wire {
namespace {

constexpr std::size_t kLengthBytes = 4;

}  // namespace

bool isKnownCableFrame(std::uint32_t type) {
  return type == std::to_underlying(CableFrame::kEndOfStream) ||
         (type >= std::to_underlying(CableFrame::kDeviceInformation) &&
          type <= std::to_underlying(CableFrame::kAudio));
}

std::vector<std::byte> encodeText(std::string_view text) {
  const auto length = bigEndian32(static_cast<std::uint32_t>(text.size()));
  const auto bytes = std::as_bytes(std::span(text));
  std::vector<std::byte> payload(kLengthBytes + bytes.size());
  std::ranges::copy(length, payload.begin());
  std::ranges::copy(bytes, payload.begin() + kLengthBytes);
  return payload;
}

std::expected<std::string_view, const char*> decodeText(std::span<const std::byte> payload) {
  if (payload.size() < kLengthBytes) return std::unexpected("it is shorter than its length field");
  const std::size_t length = readBigEndian32(payload.first<kLengthBytes>());
  const auto rest = payload.subspan(kLengthBytes);
  if (length > rest.size()) return std::unexpected("it is shorter than it says");
  const std::string_view text(reinterpret_cast<const char*>(rest.data()), length);
  if (!isValidUtf8(text)) return std::unexpected("it is not UTF-8");
  return text;
}

}  // namespace quorin::wire
