#include "platform/usb/writable_source.h"

#include <sys/epoll.h>

#include <cerrno>
#include <utility>

namespace quorin::usb {

std::expected<std::unique_ptr<WritableSource>, std::error_code> WritableSource::make(
    dispatch::Queue& queue, std::shared_ptr<const posix::FileDescriptor> socket,
    dispatch::Task handler) {
  const auto epoll = std::make_shared<const posix::FileDescriptor>(::epoll_create1(EPOLL_CLOEXEC));
  if (!*epoll) return std::unexpected(std::error_code(errno, std::system_category()));

  auto source = std::make_unique<WritableSource>();
  source->epoll_ = epoll;
  source->socket_ = socket;
  // The socket leaves the set before the handler runs: a broken one stays ready for ever.
  source->source_ = queue.makeReadSource(
      epoll->get(), [epoll, socket = std::move(socket), handler = std::move(handler)]() mutable {
        ::epoll_ctl(epoll->get(), EPOLL_CTL_DEL, socket->get(), nullptr);
        handler();
      });
  return source;
}

void WritableSource::arm() {
  epoll_event event{};
  event.events = EPOLLOUT;
  ::epoll_ctl(epoll_->get(), EPOLL_CTL_ADD, socket_->get(), &event);
}

}  // namespace quorin::usb
