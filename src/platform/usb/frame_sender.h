#pragma once

#include "core/queue.h"
#include "platform/posix/file_descriptor.h"
#include "platform/usb/frame_outbox.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <system_error>
#include <utility>
#include <vector>

namespace quorin::usb {

/// `send` is the queue that paces audio.
struct ChannelQueues {
  dispatch::Queue& send;
  dispatch::Queue& main;
};

/// The writing half of a channel, confined to the send queue: each new frame also writes as much of
/// the outbox as the socket takes. Safe to keep and use after its channel has ended, without
/// effect.
class FrameSender : public std::enable_shared_from_this<FrameSender> {
 public:
  using Written = FrameOutbox::Written;

  /// For `std::make_shared`. `socket` is a non-blocking stream socket. `didFail` runs once, on the
  /// main queue, when nothing can be written any more.
  FrameSender(ChannelQueues queues, std::shared_ptr<const posix::FileDescriptor> socket,
              Written didFail)
      : queues_(queues), socket_(std::move(socket)), didFail_(std::move(didFail)) {}

  /// Sends a live frame: beyond 200 ms of backlog the oldest are dropped. Send queue; never waits,
  /// allocates nothing. `payload` at most `FrameOutbox::kMaxLivePayload`, copied.
  void send(std::uint32_t type, std::uint32_t tag, std::span<const std::byte> payload);

  /// Live frames dropped since the channel opened. Any thread.
  std::uint64_t dropped() const { return dropped_.load(std::memory_order_relaxed); }

  /// Main queue: the whole frame goes to the send queue. `written` runs on the main queue.
  void post(std::vector<std::byte> frame, Written written);

 private:
  void flush();
  void flushLater();
  void report(Written written, std::error_code error);
  void fail(std::error_code error);

  ChannelQueues queues_;
  std::shared_ptr<const posix::FileDescriptor> socket_;
  Written didFail_;
  FrameOutbox outbox_;
  std::error_code failure_;
  std::atomic<std::uint64_t> dropped_ = 0;
};

}  // namespace quorin::usb
