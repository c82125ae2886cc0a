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

std::string describe(TextError error) {
  switch (error) {
    case TextError::kTooShort:
      return "it is shorter than its length field";
    case TextError::kLengthTooLarge:
      return "it is shorter than it says";
    case TextError::kNotUtf8:
      return "it is not UTF-8";
  }
  return {};
}

std::vector<std::byte> encodeText(std::string_view text) {
  const auto length = bigEndian32(static_cast<std::uint32_t>(text.size()));
  const auto bytes = std::as_bytes(std::span(text));
  std::vector<std::byte> payload(kLengthBytes + bytes.size());
  std::ranges::copy(length, payload.begin());
  std::ranges::copy(bytes, payload.begin() + kLengthBytes);
  return payload;
}

std::expected<std::string_view, TextError> decodeText(std::span<const std::byte> payload) {
  if (payload.size() < kLengthBytes) return std::unexpected(TextError::kTooShort);
  const std::size_t length = readBigEndian32(payload.first<kLengthBytes>());
  const auto rest = payload.subspan(kLengthBytes);
  if (length > rest.size()) return std::unexpected(TextError::kLengthTooLarge);
  const std::string_view text(reinterpret_cast<const char*>(rest.data()), length);
  if (!isValidUtf8(text)) return std::unexpected(TextError::kNotUtf8);
  return text;
}

}  // namespace quorin::wire
