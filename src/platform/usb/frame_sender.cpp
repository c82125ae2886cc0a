#include "platform/usb/frame_sender.h"

#include <sys/socket.h>

#include <cassert>
#include <cerrno>
#include <utility>

namespace quorin::usb {

FrameSender::FrameSender(Queues queues, std::shared_ptr<const posix::FileDescriptor> socket,
                         std::weak_ptr<FrameSenderOwner> owner)
    : queues_(queues), socket_(std::move(socket)), owner_(std::move(owner)) {}

std::expected<std::shared_ptr<FrameSender>, std::error_code> FrameSender::make(
    Queues queues, std::shared_ptr<const posix::FileDescriptor> socket,
    std::weak_ptr<FrameSenderOwner> owner) {
  auto sender = std::make_shared<FrameSender>(queues, socket, std::move(owner));
  auto room = WritableSource::make(queues.send, std::move(socket),
                                   [weak = std::weak_ptr<FrameSender>(sender)] {
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

void FrameSender::post(FrameOutbox::Id id, std::vector<std::byte> frame) {
  queues_.send.async([self = shared_from_this(), id, frame = std::move(frame)]() mutable {
    self->appendReliable(id, std::move(frame));
  });
}

void FrameSender::appendReliable(FrameOutbox::Id id, std::vector<std::byte> frame) {
  if (failure_) {
    report(id, failure_);
  } else if (outbox_.appendReliable(id, std::move(frame))) {
    flush();
  } else {
    report(id, std::make_error_code(std::errc::no_buffer_space));
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
      if (const auto id = outbox_.written(static_cast<std::size_t>(count))) report(*id, {});
    } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
      waitsForRoom_ = true;
      room_->arm();
      return;
    } else if (errno != EINTR) {
      fail({errno, std::system_category()});
    }
  }
}

void FrameSender::report(FrameOutbox::Id id, std::error_code error) {
  queues_.main.async([owner = owner_, id, error] {
    if (const auto listening = owner.lock()) listening->frameWasWritten(id, error);
  });
}

void FrameSender::fail(std::error_code error) {
  failure_ = error;
  queues_.main.async([owner = owner_, error] {
    if (const auto listening = owner.lock()) listening->writingFailed(error);
  });
}

}  // namespace quorin::usb
