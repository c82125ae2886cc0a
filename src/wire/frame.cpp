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

std::size_t FrameReader::needed() const {
  return state_ == State::kPayload ? header_.payloadSize : kFrameHeaderBytes;
}

std::span<std::byte> FrameReader::space() {
  if (state_ == State::kBroken) begin_ = end_ = 0;
  const bool tooLarge =
      buffer_.size() > kInitialBytes && waiting() < kInitialBytes && needed() <= kInitialBytes;
  if (buffer_.empty() || tooLarge) {
    std::vector<std::byte> fresh(kInitialBytes);
    std::copy_n(buffer_.data() + begin_, waiting(), fresh.begin());
    end_ = waiting();
    begin_ = 0;
    buffer_ = std::move(fresh);
  } else if (begin_ == end_) {
    begin_ = end_ = 0;
  } else if (begin_ > 0 && begin_ + needed() > buffer_.size()) {
    std::copy_n(buffer_.data() + begin_, waiting(), buffer_.begin());
    end_ -= begin_;
    begin_ = 0;
  }
  if (end_ == buffer_.size()) {
    assert(needed() > buffer_.size());  // otherwise `next` was not called until NeedMore
    buffer_.resize(std::min(needed(), 2 * buffer_.size()));
  }
  return std::span(buffer_).subspan(end_);
}

void FrameReader::received(std::size_t count) {
  assert(count <= buffer_.size() - end_);
  end_ += count;
}

std::span<const std::byte> FrameReader::take(std::size_t count) {
  const auto taken = std::span<const std::byte>(buffer_).subspan(begin_, count);
  begin_ += count;
  return taken;
}

FrameReader::Step FrameReader::next() {
  switch (state_) {
    case State::kBroken:
      return Broken{};
    case State::kSkipping:
      toSkip_ -= take(std::min(toSkip_, waiting())).size();
      if (toSkip_ > 0) return NeedMore{};
      state_ = State::kHeader;
      return readHeader();
    case State::kPayload:
      if (waiting() < header_.payloadSize) return NeedMore{};
      state_ = State::kHeader;
      return Frame{header_, take(header_.payloadSize)};
    case State::kHeader:
      return readHeader();
  }
  return NeedMore{};
}

FrameReader::Step FrameReader::readHeader() {
  if (waiting() < kFrameHeaderBytes) return NeedMore{};
  const auto bytes = take(kFrameHeaderBytes).first<kFrameHeaderBytes>();
  const auto version = readBigEndian32(bytes.subspan<0, 4>());
  header_ = {.type = readBigEndian32(bytes.subspan<4, 4>()),
             .tag = readBigEndian32(bytes.subspan<8, 4>()),
             .payloadSize = readBigEndian32(bytes.subspan<12, 4>())};
  if (version != kFrameVersion || header_.payloadSize > kMaxPayloadBytes) {
    state_ = State::kBroken;
    return Broken{};
  }
  state_ = State::kPayload;
  return header_;
}

void FrameReader::skip() {
  assert(state_ == State::kPayload);
  state_ = State::kSkipping;
  toSkip_ = header_.payloadSize;
}

}  // namespace quorin::wire
