#include "platform/usb/frame_outbox.h"

#include <algorithm>
#include <cassert>

namespace quorin::usb {

void FrameOutbox::appendLive(std::uint32_t type, std::uint32_t tag,
                             std::span<const std::byte> payload) {
  assert(payload.size() <= kMaxLivePayload);
  if (liveCount_ == kMaxLive) {
    dropOldestLive();
    ++liveDropped_;
  }
  auto& slot = (*live_)[(liveHead_ + liveCount_) % kMaxLive];
  const auto header = encodeFrameHeader({type, tag, static_cast<std::uint32_t>(payload.size())});
  std::ranges::copy(payload, std::ranges::copy(header, slot.bytes.begin()).out);
  slot.size = header.size() + payload.size();
  ++liveCount_;
}

void FrameOutbox::dropOldestLive() {
  liveHead_ = (liveHead_ + 1) % kMaxLive;
  --liveCount_;
}

bool FrameOutbox::appendReliable(Id id, std::vector<std::byte> frame) {
  if (reliableBytes_ > 0 && reliableBytes_ + frame.size() > kMaxReliableBytes) return false;
  reliableBytes_ += frame.size();
  reliable_.push_back({id, std::move(frame)});
  return true;
}

std::span<const std::byte> FrameOutbox::next() const {
  if (begunWritten_ < begun_->size) return begun_->contents().subspan(begunWritten_);
  if (!reliable_.empty()) {
    return std::span<const std::byte>(reliable_.front().frame).subspan(reliableWritten_);
  }
  if (liveCount_ > 0) return (*live_)[liveHead_].contents();
  return {};
}

std::optional<FrameOutbox::Id> FrameOutbox::written(std::size_t count) {
  assert(count <= next().size());
  if (count == 0) return std::nullopt;

  if (begunWritten_ < begun_->size) {
    begunWritten_ += count;
    return std::nullopt;
  }
  if (!reliable_.empty()) {
    auto& first = reliable_.front();
    reliableWritten_ += count;
    if (reliableWritten_ < first.frame.size()) return std::nullopt;
    const auto id = first.id;
    reliableBytes_ -= first.frame.size();
    reliableWritten_ = 0;
    reliable_.pop_front();
    return id;
  }
  const auto& slot = (*live_)[liveHead_];
  if (count < slot.size) {
    std::ranges::copy(slot.contents(), begun_->bytes.begin());
    begun_->size = slot.size;
    begunWritten_ = count;
  }
  dropOldestLive();
  return std::nullopt;
}

}  // namespace quorin::usb
