#include "platform/usb/frame_reader.h"

#include <algorithm>
#include <cassert>

namespace quorin::usb {

std::size_t FrameReader::needed() const {
  return state_ == State::kPayload ? header_.payloadSize : kFrameHeaderBytes;
}

std::span<std::byte> FrameReader::space() {
  if (begin_ == end_ || state_ == State::kFailed) {
    begin_ = end_ = 0;
    if (buffer_.size() > kInitialBytes) buffer_ = std::vector<std::byte>(kInitialBytes);
  }
  if (begin_ > 0 && begin_ + needed() > buffer_.size()) {
    std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(begin_),
              buffer_.begin() + static_cast<std::ptrdiff_t>(end_), buffer_.begin());
    end_ -= begin_;
    begin_ = 0;
  }
  if (end_ == buffer_.size()) {
    assert(needed() > buffer_.size());  // else `next` has not been asked for what is there
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
    case State::kFailed:
      return error_;
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
    state_ = State::kFailed;
    error_ = version != kFrameVersion ? FrameError::kUnknownVersion : FrameError::kPayloadTooLarge;
    return error_;
  }
  state_ = State::kPayload;
  return header_;
}

void FrameReader::skip() {
  assert(state_ == State::kPayload);
  state_ = State::kSkipping;
  toSkip_ = header_.payloadSize;
}

}  // namespace quorin::usb
