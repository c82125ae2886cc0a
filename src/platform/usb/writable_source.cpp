#include "platform/usb/writable_source.h"

#include <sys/epoll.h>

#include <cerrno>
#include <utility>

namespace quorin::usb {

WritableSource::WritableSource(posix::FileDescriptor epoll, int descriptor)
    : epoll_(std::move(epoll)), descriptor_(descriptor) {}

std::expected<std::unique_ptr<WritableSource>, std::error_code> WritableSource::make(
    dispatch::Queue& queue, int descriptor, dispatch::Task handler) {
  posix::FileDescriptor epoll(::epoll_create1(EPOLL_CLOEXEC));
  if (!epoll) return std::unexpected(std::error_code(errno, std::system_category()));

  std::unique_ptr<WritableSource> source(new WritableSource(std::move(epoll), descriptor));
  // The descriptor leaves the set before the handler runs: a broken one stays ready for ever.
  source->source_ = queue.makeReadSource(
      source->epoll_.get(),
      [epollSet = source->epoll_.get(), descriptor, handler = std::move(handler)]() mutable {
        ::epoll_ctl(epollSet, EPOLL_CTL_DEL, descriptor, nullptr);
        handler();
      });
  return source;
}

void WritableSource::arm() {
  epoll_event event{};
  event.events = EPOLLOUT;
  ::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, descriptor_, &event);
}

}  // namespace quorin::usb
