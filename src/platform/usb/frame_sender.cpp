#include "platform/usb/frame_sender.h"

#include <sys/socket.h>

#include <cassert>
#include <cerrno>
#include <chrono>

namespace quorin::usb {
namespace {

constexpr std::chrono::milliseconds kFlushInterval{100};

}  // namespace

void FrameSender::send(std::uint32_t type, std::uint32_t tag, std::span<const std::byte> payload) {
  assert(queues_.send.isCurrent());
  if (failure_) return;
  if (outbox_.appendLive(type, tag, payload)) dropped_.fetch_add(1, std::memory_order_relaxed);
  flush();
}

void FrameSender::post(std::vector<std::byte> frame, Written written) {
  queues_.send.async([self = shared_from_this(), frame = std::move(frame),
                      written = std::move(written)]() mutable {
    auto error = self->failure_;
    if (!error && self->outbox_.isFull()) error = std::make_error_code(std::errc::no_buffer_space);
    if (error) return self->report(std::move(written), error);
    self->outbox_.appendReliable({std::move(frame), std::move(written)});
    self->flush();
    self->flushLater();
  });
}

/// Retries frames left by a full socket, since without sound no `send` would.
void FrameSender::flushLater() {
  if (failure_ || !outbox_.hasReliable()) return;
  queues_.send.asyncAfter(kFlushInterval, [self = shared_from_this()] {
    self->flush();
    self->flushLater();
  });
}

void FrameSender::flush() {
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
      return;  // the next chunk finds the socket with room, or drops an older one
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
  for (auto& frame : outbox_.takeReliable()) report(std::move(frame.written), error);
  report(std::exchange(didFail_, nullptr), error);
}

}  // namespace quorin::usb
