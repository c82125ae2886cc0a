#include "wire/frame.h"

#include <algorithm>
#include <cassert>
#include <utility>

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

void FrameReader::received(std::span<const std::byte> bytes) {
  pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(begin_));
  begin_ = 0;
  if (pending_.size() < kMaxKept && pending_.capacity() > 2 * kMaxKept) pending_.shrink_to_fit();
  const auto skipped = std::min(toSkip_, bytes.size());
  toSkip_ -= skipped;
  const auto rest = bytes.subspan(skipped);
  if (!broken_) pending_.insert(pending_.end(), rest.begin(), rest.end());
}

FrameReader::Step FrameReader::next() {
  if (broken_) return Broken{};
  if (!header_) return readHeader();
  if (waiting() < header_->payloadSize) return NeedMore{};
  const auto header = *std::exchange(header_, std::nullopt);
  return Frame{header, take(header.payloadSize)};
}

FrameReader::Step FrameReader::readHeader() {
  if (waiting() < kFrameHeaderBytes) return NeedMore{};
  const auto bytes = take(kFrameHeaderBytes).first<kFrameHeaderBytes>();
  const auto version = readBigEndian32(bytes.subspan<0, 4>());
  const FrameHeader header{.type = readBigEndian32(bytes.subspan<4, 4>()),
                           .tag = readBigEndian32(bytes.subspan<8, 4>()),
                           .payloadSize = readBigEndian32(bytes.subspan<12, 4>())};
  broken_ = version != kFrameVersion || header.payloadSize > kMaxPayloadBytes;
  if (broken_) return Broken{};
  header_ = header;
  return header;
}

void FrameReader::skip() {
  assert(header_);
  const auto size = std::exchange(header_, std::nullopt)->payloadSize;
  toSkip_ = size - take(std::min<std::size_t>(size, waiting())).size();
}

std::span<const std::byte> FrameReader::take(std::size_t count) {
  const auto taken = std::span<const std::byte>(pending_).subspan(begin_, count);
  begin_ += count;
  return taken;
}

}  // namespace quorin::wire
