#include "platform/audio/backend/pulse_loop.h"

#include <sys/eventfd.h>
#include <sys/time.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <chrono>
#include <span>
#include <system_error>
#include <utility>

namespace {

using quorin::audio::PulseLoop;

template <typename Callback, typename DestroyCallback>
struct Event {
  PulseLoop* loop;
  Callback callback;
  void* userdata;
  DestroyCallback onDestroy = nullptr;
  bool freed = false;  ///< by libpulse; it may be running at this moment, so it goes a little later
};

}  // namespace

// libpulse leaves it to its loop what these are.
struct pa_io_event : Event<pa_io_event_cb_t, pa_io_event_destroy_cb_t> {
  int descriptor;
  short wanted;  ///< as `poll` calls them
};
struct pa_time_event : Event<pa_time_event_cb_t, pa_time_event_destroy_cb_t> {
  std::optional<quorin::dispatch::TimePoint> due;  ///< none: it has run, or waits for a time
};
struct pa_defer_event : Event<pa_defer_event_cb_t, pa_defer_event_destroy_cb_t> {
  bool enabled;
};

namespace quorin::audio {
namespace {

using Clock = std::chrono::steady_clock;
using dispatch::TimePoint;

constexpr std::pair<int, short> kFlags[] = {{PA_IO_EVENT_INPUT, POLLIN},
                                            {PA_IO_EVENT_OUTPUT, POLLOUT},
                                            {PA_IO_EVENT_HANGUP, POLLHUP},
                                            {PA_IO_EVENT_ERROR, POLLERR}};

short toPoll(pa_io_event_flags_t flags) {
  int events = 0;
  for (const auto& [flag, event] : kFlags) events |= (flags & flag) != 0 ? event : 0;
  return static_cast<short>(events);
}

pa_io_event_flags_t fromPoll(short events) {
  int flags = PA_IO_EVENT_NULL;
  for (const auto& [flag, event] : kFlags) flags |= (events & event) != 0 ? flag : 0;
  return static_cast<pa_io_event_flags_t>(flags);
}

/// libpulse tells times by the wall clock to a loop that is not its own.
std::optional<TimePoint> toTimePoint(const timeval* time) {
  if (time == nullptr) return std::nullopt;
  const auto wall = std::chrono::seconds(time->tv_sec) + std::chrono::microseconds(time->tv_usec);
  return Clock::now() + (wall - std::chrono::system_clock::now().time_since_epoch());
}

timespec toTimespec(dispatch::Duration duration) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(duration);
  return {.tv_sec = seconds.count(), .tv_nsec = (duration - seconds).count()};
}

/// Sleeps until one is ready or the time has come; none: for as long as it takes.
void pollUntil(std::span<pollfd> descriptors, std::optional<TimePoint> time) {
  timespec timeout{};
  if (time) timeout = toTimespec(std::max(*time - Clock::now(), dispatch::Duration::zero()));
  ::ppoll(descriptors.data(), descriptors.size(), time ? &timeout : nullptr, nullptr);
}

}  // namespace

struct PulseLoop::Api {
  static PulseLoop& of(pa_mainloop_api* api) { return *static_cast<PulseLoop*>(api->userdata); }

  static pa_io_event* newIo(pa_mainloop_api* api, int descriptor, pa_io_event_flags_t events,
                            pa_io_event_cb_t callback, void* userdata) {
    auto& loop = of(api);
    return loop.add<pa_io_event>(loop.descriptors_,
                                 {{&loop, callback, userdata}, descriptor, toPoll(events)});
  }
  static void enableIo(pa_io_event* event, pa_io_event_flags_t events) {
    event->wanted = toPoll(events);
    event->loop->eventsChanged();
  }

  static pa_time_event* newTime(pa_mainloop_api* api, const timeval* time,
                                pa_time_event_cb_t callback, void* userdata) {
    auto& loop = of(api);
    return loop.add<pa_time_event>(loop.timers_, {{&loop, callback, userdata}, toTimePoint(time)});
  }
  static void restartTime(pa_time_event* event, const timeval* time) {
    event->due = toTimePoint(time);
    event->loop->eventsChanged();
  }

  static pa_defer_event* newDefer(pa_mainloop_api* api, pa_defer_event_cb_t callback,
                                  void* userdata) {
    auto& loop = of(api);
    return loop.add<pa_defer_event>(loop.deferred_, {{&loop, callback, userdata}, true});
  }
  static void enableDefer(pa_defer_event* event, int enabled) {
    event->enabled = enabled != 0;
    if (event->enabled) event->loop->eventsChanged();
  }

  template <typename Event>
  static void free(Event* event) {
    event->freed = true;
    event->loop->someAreFreed_ = true;
    event->loop->eventsChanged();
  }
  template <typename Event, typename Callback>
  static void onDestroy(Event* event, Callback callback) {
    event->onDestroy = callback;
  }
  static void quit(pa_mainloop_api*, int) {}  // only `stop` ends the loop

  template <typename Event>
  static void sweep(PulseLoop& loop, Events<Event>& events) {
    const auto freed = std::ranges::partition(events, [](const auto& e) { return !e->freed; });
    Events<Event> gone(std::move_iterator(freed.begin()), std::move_iterator(freed.end()));
    events.erase(freed.begin(), freed.end());
    for (const auto& event : gone) {
      if (event->onDestroy) event->onDestroy(loop.api(), event.get(), event->userdata);
    }
  }
};

PulseLoop::PulseLoop(const char* threadName, std::function<void()> onThread)
    : threadName_(threadName),
      onThread_(std::move(onThread)),
      api_{.userdata = this,
           .io_new = Api::newIo,
           .io_enable = Api::enableIo,
           .io_free = Api::free<pa_io_event>,
           .io_set_destroy = Api::onDestroy,
           .time_new = Api::newTime,
           .time_restart = Api::restartTime,
           .time_free = Api::free<pa_time_event>,
           .time_set_destroy = Api::onDestroy,
           .defer_new = Api::newDefer,
           .defer_enable = Api::enableDefer,
           .defer_free = Api::free<pa_defer_event>,
           .defer_set_destroy = Api::onDestroy,
           .quit = Api::quit},
      wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (wake_.get() < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

PulseLoop::~PulseLoop() {
  stop();
  sweep();
  assert(descriptors_.empty() && timers_.empty() && deferred_.empty());
  ::pthread_cond_destroy(&signalled_);
}

void PulseLoop::start() {
  assert(!thread_.joinable());
  const Lock lock(*this);  // the thread compares itself with `thread_`
  thread_ = std::thread([this] {
    ::pthread_setname_np(::pthread_self(), threadName_);
    onThread_();
    const Lock running(*this);
    run();
  });
}

void PulseLoop::stop() {
  if (!thread_.joinable()) return;
  {
    const Lock lock(*this);
    ending_ = true;
    eventsChanged();
  }
  thread_.join();
}

pa_time_event* PulseLoop::callAfter(dispatch::Duration delay, pa_time_event_cb_t callback,
                                    void* userdata) {
  return add<pa_time_event>(timers_, {{this, callback, userdata}, Clock::now() + delay});
}

template <typename Event>
Event* PulseLoop::add(Events<Event>& events, Event event) {
  auto* const added = events.emplace_back(std::make_unique<Event>(std::move(event))).get();
  eventsChanged();
  return added;
}

/// The loop looks at everything again before it sleeps: only other threads have to wake it.
void PulseLoop::eventsChanged() {
  if (std::this_thread::get_id() != thread_.get_id()) ::eventfd_write(wake_.get(), 1);
}

void PulseLoop::run() {
  while (!ending_) {
    if (!runDeferred()) {
      sleep();
      runDue();
      dispatchReady();
    }
    if (std::exchange(someAreFreed_, false)) sweep();
  }
}

// Callbacks add events, so all of these count on.

bool PulseLoop::runDeferred() {
  bool ran = false;
  for (std::size_t next = 0; next < deferred_.size();) {
    auto* const event = deferred_[next++].get();
    if (event->freed || !event->enabled) continue;
    event->callback(api(), event, event->userdata);
    ran = true;
  }
  return ran;
}

void PulseLoop::runDue() {
  const auto now = Clock::now();
  for (std::size_t next = 0; next < timers_.size();) {
    auto* const event = timers_[next++].get();
    if (event->freed || !event->due || *event->due > now) continue;
    event->due.reset();
    event->callback(api(), event, nullptr, event->userdata);
  }
}

void PulseLoop::dispatchReady() {
  for (std::size_t i = 1; i < polled_.size(); ++i) {
    auto* const event = descriptors_[i - 1].get();
    const auto ready = static_cast<short>(polled_[i].revents & (event->wanted | POLLHUP | POLLERR));
    if (event->freed || ready == 0) continue;
    event->callback(api(), event, event->descriptor, fromPoll(ready), event->userdata);
  }
}

void PulseLoop::sleep() {
  polled_.assign(1, {.fd = wake_.get(), .events = POLLIN, .revents = 0});
  for (const auto& event : descriptors_) {
    polled_.push_back(
        {.fd = event->freed ? -1 : event->descriptor, .events = event->wanted, .revents = 0});
  }
  const auto due = nextDue();
  const auto napUntil = napUntil_;
  ::pthread_mutex_unlock(mutex_.native());
  const auto all = std::span(polled_);
  const auto isReady = [](const pollfd& descriptor) { return descriptor.revents != 0; };
  if (napUntil > Clock::now()) {
    pollUntil(all, TimePoint{});
    if (std::ranges::none_of(all, isReady)) {
      pollUntil(all.first(1), due ? std::min(*due, napUntil) : napUntil);
      if (std::ranges::none_of(all, isReady)) pollUntil(all, TimePoint{});
    }
  } else {
    pollUntil(all, due);
  }
  if (isReady(all.front())) {
    eventfd_t changes = 0;
    ::eventfd_read(wake_.get(), &changes);
  }
  ::pthread_mutex_lock(mutex_.native());
}

std::optional<TimePoint> PulseLoop::nextDue() const {
  std::optional<TimePoint> next;
  for (const auto& timer : timers_) {
    if (timer->freed || !timer->due) continue;
    next = next ? std::min(*next, *timer->due) : *timer->due;
  }
  return next;
}

void PulseLoop::sweep() {
  Api::sweep(*this, descriptors_);
  Api::sweep(*this, timers_);
  Api::sweep(*this, deferred_);
}

}  // namespace quorin::audio
