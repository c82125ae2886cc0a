#pragma once

#include "core/queue.h"
#include "platform/posix/file_descriptor.h"
#include "platform/usb/channel.h"
#include "platform/usb/frame_outbox.h"
#include "platform/usb/writable_source.h"

#include <atomic>
#include <cstdint>
#include <expected>
#include <memory>
#include <span>
#include <system_error>
#include <vector>

namespace quorin::usb {

/// Hears on the main queue what became of the frames.
class FrameSenderOwner {
 public:
  virtual ~FrameSenderOwner() = default;
  virtual void frameWasWritten(FrameOutbox::Id id, std::error_code error) = 0;
  /// Nothing is written any more.
  virtual void writingFailed(std::error_code error) = 0;
};

/// The writing half of a channel, confined to the send queue: writes what the outbox gives as
/// far as the socket takes it, and goes on when there is room again. Ends by itself once the
/// socket is shut down.
class FrameSender : public LiveFrameSender, public std::enable_shared_from_this<FrameSender> {
 public:
  struct Queues {
    dispatch::Queue& send;
    dispatch::Queue& main;
  };

  /// `socket` is a non-blocking stream socket. An error when the system has no descriptor left.
  static std::expected<std::shared_ptr<FrameSender>, std::error_code> make(
      Queues queues, std::shared_ptr<const posix::FileDescriptor> socket,
      std::weak_ptr<FrameSenderOwner> owner);

  FrameSender(Queues queues, std::shared_ptr<const posix::FileDescriptor> socket,
              std::weak_ptr<FrameSenderOwner> owner);

  void send(std::uint32_t type, std::uint32_t tag, std::span<const std::byte> payload) override;
  std::uint64_t dropped() const override { return dropped_.load(std::memory_order_relaxed); }

  /// Any thread: the frame goes to the send queue. The owner hears of it by `id`.
  void post(FrameOutbox::Id id, std::vector<std::byte> frame);

 private:
  void appendReliable(FrameOutbox::Id id, std::vector<std::byte> frame);
  void flush();
  void report(FrameOutbox::Id id, std::error_code error);
  void fail(std::error_code error);

  Queues queues_;
  std::shared_ptr<const posix::FileDescriptor> socket_;
  std::weak_ptr<FrameSenderOwner> owner_;  ///< looked at on the main queue only
  FrameOutbox outbox_;
  std::unique_ptr<WritableSource> room_;
  bool waitsForRoom_ = false;
  std::error_code failure_;
  std::atomic<std::uint64_t> dropped_ = 0;
};

}  // namespace quorin::usb
