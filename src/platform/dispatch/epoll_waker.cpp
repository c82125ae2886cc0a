#include "platform/dispatch/epoll_waker.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace quorin::dispatch {
namespace {

posix::FileDescriptor orThrow(int descriptor, const char* what) {
  if (descriptor < 0) throw std::system_error(errno, std::generic_category(), what);
  return posix::FileDescriptor(descriptor);
}

// No source's descriptor; edge-triggered, so that neither the counter nor the expirations ever have
// to be read.
void watch(int epoll, int descriptor) {
  epoll_event event{.events = EPOLLIN | EPOLLET, .data = {.fd = -1}};
  ::epoll_ctl(epoll, EPOLL_CTL_ADD, descriptor, &event);
}

}  // namespace

EpollWaker::EpollWaker()
    : epoll_(orThrow(::epoll_create1(EPOLL_CLOEXEC), "epoll_create1")),
      event_(orThrow(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")),
      timer_(orThrow(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK),
                     "timerfd_create")) {
  watch(epoll_.get(), event_.get());
  watch(epoll_.get(), timer_.get());
}

TimePoint EpollWaker::now() const {
  return std::chrono::steady_clock::now();
}

void EpollWaker::wake() {
  ::eventfd_write(event_.get(), 1);
}

void EpollWaker::arm(int descriptor) {
  epoll_event event{.events = EPOLLIN | EPOLLONESHOT, .data = {.fd = descriptor}};
  if (::epoll_ctl(epoll_.get(), EPOLL_CTL_MOD, descriptor, &event) != 0 && errno == ENOENT) {
    ::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, descriptor, &event);
  }
}

void EpollWaker::disarm(int descriptor) {
  ::epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, descriptor, nullptr);
}

void EpollWaker::setDeadline(std::optional<TimePoint> deadline) {
  if (deadline == deadline_) return;
  deadline_ = deadline;
  itimerspec when{};  // all zero disarms
  if (deadline) {
    const auto sinceEpoch = deadline->time_since_epoch();
    const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceEpoch);
    when.it_value.tv_sec = seconds.count();
    when.it_value.tv_nsec = (sinceEpoch - seconds).count();
  }
  ::timerfd_settime(timer_.get(), TFD_TIMER_ABSTIME, &when, nullptr);
}

void EpollWaker::collect(QueueCore& core, Wait wait) {
  std::array<epoll_event, 16> events;
  const int count = ::epoll_wait(epoll_.get(), events.data(), static_cast<int>(events.size()),
                                 wait == Wait::kYes ? -1 : 0);
  for (int i = 0; i < count; ++i) {
    core.markReadable(events[static_cast<std::size_t>(i)].data.fd);
  }
}

}  // namespace quorin::dispatch
