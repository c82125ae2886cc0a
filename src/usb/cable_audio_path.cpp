#include "usb/cable_audio_path.h"

#include "wire/cable_frames.h"

#include <bit>
#include <cassert>
#include <utility>

namespace quorin::usb {

static_assert(std::endian::native == std::endian::little, "audio frames carry the samples as is");
static_assert(wire::kChunkBytes <= FrameOutbox::kMaxLivePayload, "fits a live frame");

CableAudioPath::CableAudioPath(dispatch::Queue& sendQueue) : sendQueue_(sendQueue) {}

void CableAudioPath::send(wire::AudioChunkView chunk) {
  assert(sendQueue_.isCurrent());
  if (!confined_->sender) return;
  confined_->sender->send(std::to_underlying(wire::CableFrame::kAudio), 0, std::as_bytes(chunk));
}

void CableAudioPath::setChannel(const PTChannel* channel) {
  current_ = channel != nullptr ? channel->liveFrameSender() : nullptr;
  isOpen_.store(channel != nullptr, std::memory_order_relaxed);
  sendQueue_.async([confined = confined_, sender = current_]() mutable {
    confined->sender = std::move(sender);
  });
}

}  // namespace quorin::usb
