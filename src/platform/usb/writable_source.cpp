#include "platform/usb/writable_source.h"

#include <sys/epoll.h>

#include <cerrno>
#include <utility>

namespace quorin::usb {

WritableSource::WritableSource(dispatch::Queue& queue,
                               std::shared_ptr<const posix::FileDescriptor> socket,
                               dispatch::Task handler)
    : epoll_(std::make_shared<const posix::FileDescriptor>(::epoll_create1(EPOLL_CLOEXEC))),
      socket_(std::move(socket)) {
  if (!*epoll_) return;
  // The socket leaves the set before the handler runs: a broken one stays ready for ever.
  source_ = queue.makeReadSource(
      epoll_->get(), [epoll = epoll_, socket = socket_, handler = std::move(handler)]() mutable {
        ::epoll_ctl(epoll->get(), EPOLL_CTL_DEL, socket->get(), nullptr);
        handler();
      });
}

std::error_code WritableSource::arm() {
  epoll_event event{};
  event.events = EPOLLOUT;
  if (::epoll_ctl(epoll_->get(), EPOLL_CTL_ADD, socket_->get(), &event) == 0) return {};
  return {*epoll_ ? errno : EMFILE, std::system_category()};
}

}  // namespace quorin::usb
