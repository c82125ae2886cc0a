#include "platform/usb/frame_sender.h"

#include <sys/socket.h>

#include <cassert>
#include <cerrno>
#include <utility>

namespace quorin::usb {

std::expected<std::shared_ptr<FrameSender>, std::error_code> FrameSender::make(
    ChannelQueues queues, std::shared_ptr<const posix::FileDescriptor> socket, Written didFail) {
  const std::shared_ptr<FrameSender> sender(new FrameSender(queues, socket, std::move(didFail)));
  auto room =
      WritableSource::make(queues.send, std::move(socket), [weak = sender->weak_from_this()] {
        if (const auto self = weak.lock()) {
          self->waitsForRoom_ = false;
          self->flush();
        }
      });
  if (!room) return std::unexpected(room.error());
  sender->room_ = std::move(*room);
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
  queues_.send.async(
      [self = shared_from_this(),
       reliable = FrameOutbox::Reliable{std::move(frame), std::move(written)}]() mutable {
        self->append(std::move(reliable));
      });
}

void FrameSender::append(FrameOutbox::Reliable frame) {
  if (failure_) {
    report(std::move(frame.written), failure_);
  } else if (outbox_.hasRoomFor(frame)) {
    outbox_.appendReliable(std::move(frame));
    flush();
  } else {
    report(std::move(frame.written), std::make_error_code(std::errc::no_buffer_space));
  }
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
      room_->arm();
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
