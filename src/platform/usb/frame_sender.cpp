#include "platform/usb/frame_sender.h"

#include <sys/socket.h>

#include <cassert>
#include <cerrno>
#include <utility>

namespace quorin::usb {

std::shared_ptr<FrameSender> FrameSender::make(ChannelQueues queues,
                                               std::shared_ptr<const posix::FileDescriptor> socket,
                                               Written didFail) {
  const std::shared_ptr<FrameSender> sender(new FrameSender(queues, socket, std::move(didFail)));
  sender->room_ = std::make_unique<WritableSource>(queues.send, std::move(socket),
                                                   [weak = sender->weak_from_this()] {
                                                     const auto self = weak.lock();
                                                     if (!self) return;
                                                     self->waitsForRoom_ = false;
                                                     self->flush();
                                                   });
  return sender;
}

void FrameSender::send(std::uint32_t type, std::uint32_t tag, std::span<const std::byte> payload) {
  assert(queues_.send.isCurrent());
  if (failure_) return;
  outbox_.appendLive(type, tag, payload);
  dropped_.store(outbox_.liveDropped(), std::memory_order_relaxed);
  flush();
}

void FrameSender::post(std::vector<std::byte> frame, Written written) {
  queues_.send.async([self = shared_from_this(),
                      reliable =
                          FrameOutbox::Reliable{std::move(frame), std::move(written)}]() mutable {
    const bool hasRoom = self->outbox_.hasRoomFor(reliable);
    if (self->failure_ || !hasRoom) {
      const auto noRoom = std::make_error_code(std::errc::no_buffer_space);
      return self->report(std::move(reliable.written), self->failure_ ? self->failure_ : noRoom);
    }
    self->outbox_.appendReliable(std::move(reliable));
    self->flush();
  });
}

void FrameSender::flush() {
  if (waitsForRoom_) return;
  while (!failure_) {
    const auto part = outbox_.next();
    if (part.empty()) return;
    const auto count =
        ::send(socket_->get(), part.data(), part.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count >= 0) {
      if (auto written = outbox_.written(static_cast<std::size_t>(count))) {
        report(std::move(written), {});
      }
    } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
      waitsForRoom_ = true;
      if (const auto error = room_->arm()) fail(error);
      return;
    } else if (errno != EINTR) {
      fail({errno, std::system_category()});
    }
  }
}

void FrameSender::report(Written written, std::error_code error) {
  queues_.main.async([written = std::move(written), error]() mutable { written(error); });
}

void FrameSender::fail(std::error_code error) {
  failure_ = error;
  for (auto& written : outbox_.takeReliable()) report(std::move(written), error);
  report(std::move(didFail_), error);
}

}  // namespace quorin::usb
