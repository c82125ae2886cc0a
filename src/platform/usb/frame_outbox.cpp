#include "platform/usb/frame_outbox.h"

#include <algorithm>
#include <cassert>

namespace quorin::usb {

bool FrameOutbox::appendLive(std::uint32_t type, std::uint32_t tag,
                             std::span<const std::byte> payload) {
  assert(payload.size() <= kMaxLivePayload);
  const bool tooMany = liveCount_ == kMaxLive;
  if (tooMany) dropOldestLive();
  auto& slot = live_[(liveHead_ + liveCount_) % kMaxLive];
  const auto header =
      wire::encodeFrameHeader({type, tag, static_cast<std::uint32_t>(payload.size())});
  std::ranges::copy(payload, std::ranges::copy(header, slot.bytes.begin()).out);
  slot.size = header.size() + payload.size();
  ++liveCount_;
  return tooMany;
}

void FrameOutbox::dropOldestLive() {
  liveHead_ = (liveHead_ + 1) % kMaxLive;
  --liveCount_;
}

std::span<const std::byte> FrameOutbox::next() const {
  if (begunWritten_ < begun_.size) return begun_.contents().subspan(begunWritten_);
  if (!reliable_.empty()) {
    return std::span<const std::byte>(reliable_.front().frame).subspan(reliableWritten_);
  }
  if (liveCount_ > 0) return live_[liveHead_].contents();
  return {};
}

FrameOutbox::Written FrameOutbox::written(std::size_t count) {
  assert(count <= next().size());
  if (count == 0) return {};

  if (begunWritten_ < begun_.size) {
    begunWritten_ += count;
    return {};
  }
  if (!reliable_.empty()) {
    auto& first = reliable_.front();
    reliableWritten_ += count;
    if (reliableWritten_ < first.frame.size()) return {};
    auto written = std::move(first.written);
    reliableWritten_ = 0;
    reliable_.pop_front();
    return written;
  }
  const auto& slot = live_[liveHead_];
  if (count < slot.size) {
    std::ranges::copy(slot.contents(), begun_.bytes.begin());
    begun_.size = slot.size;
    begunWritten_ = count;
  }
  dropOldestLive();
  return {};
}

}  // namespace quorin::usb
