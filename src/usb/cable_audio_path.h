#pragma once

#include "core/queue.h"
#include "platform/usb/channel.h"
#include "stream/transport.h"
#include "wire/audio_chunk.h"

#include <atomic>
#include <memory>

namespace quorin::usb {

/// Connects the pacing thread to the cable. The main queue sets the channel; the sender is confined
/// to the send queue, so that the pacing thread never waits.
class CableAudioPath : public stream::Transport {
 public:
  /// `sendQueue`, the queue that paces audio, outlives the path.
  explicit CableAudioPath(dispatch::Queue& sendQueue);

  /// Whether a channel is held. Any thread, lock-free.
  bool isOpen() const override { return isOpen_.load(std::memory_order_relaxed); }

  /// Sends the chunk as one audio frame, or drops it when there is no channel. Send queue only;
  /// allocates nothing.
  void send(wire::AudioChunkView chunk) override;

  bool hasListener() const override { return isOpen(); }

  /// Main queue. None closes the path.
  void setChannel(const PTChannel* channel);

  /// Chunks dropped so far by the current channel's backlog. Main queue.
  std::uint64_t dropped() const { return current_ ? current_->dropped() : 0; }

 private:
  struct Confined {
    std::shared_ptr<FrameSender> sender;
  };

  dispatch::Queue& sendQueue_;
  std::atomic<bool> isOpen_ = false;
  std::shared_ptr<FrameSender> current_;                               ///< main queue
  std::shared_ptr<Confined> confined_ = std::make_shared<Confined>();  ///< content: send queue
};

}  // namespace quorin::usb
