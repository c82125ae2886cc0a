#include "platform/usb/writable_source.h"

#include <sys/epoll.h>

#include <cerrno>
#include <utility>

namespace quorin::usb {

std::expected<std::unique_ptr<WritableSource>, std::error_code> WritableSource::make(
    dispatch::Queue& queue, std::shared_ptr<const posix::FileDescriptor> socket,
    dispatch::Task handler) {
  posix::FileDescriptor epoll(::epoll_create1(EPOLL_CLOEXEC));
  if (!epoll) return std::unexpected(std::error_code(errno, std::system_category()));

  const auto descriptors = std::make_shared<const Descriptors>(std::move(epoll), std::move(socket));
  std::unique_ptr<WritableSource> source(new WritableSource(descriptors));
  // The socket leaves the set before the handler runs: a broken one stays ready for ever.
  source->source_ = queue.makeReadSource(
      descriptors->epoll.get(), [descriptors, handler = std::move(handler)]() mutable {
        ::epoll_ctl(descriptors->epoll.get(), EPOLL_CTL_DEL, descriptors->socket->get(), nullptr);
        handler();
      });
  return source;
}

void WritableSource::arm() {
  epoll_event event{};
  event.events = EPOLLOUT;
  ::epoll_ctl(descriptors_->epoll.get(), EPOLL_CTL_ADD, descriptors_->socket->get(), &event);
}

}  // namespace quorin::usb
