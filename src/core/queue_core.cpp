#include "core/queue_core.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace quorin::dispatch {
namespace {

thread_local const QueueCore* runningCore = nullptr;

}  // namespace

struct QueueCore::TimerState {
  Task handler;
  TimePoint deadline;
  Duration interval;
  Duration leeway{0};
  std::uint64_t id = 0;
};

struct QueueCore::ReadState {
  Task handler;
  int descriptor;
  std::uint64_t id = 0;
  bool readable = false;
};

struct QueueCore::EventState {
  Task handler;
  std::atomic<bool> signalled{false};
};

/// Destroying it cancels.
template <typename Base, typename State>
class QueueCore::Handle : public Base {
 public:
  Handle(std::shared_ptr<QueueCore> core, std::shared_ptr<State> state)
      : core_(std::move(core)), state_(std::move(state)) {}
  ~Handle() override { core_->remove(state_); }

 protected:
  const std::shared_ptr<QueueCore> core_;
  const std::shared_ptr<State> state_;
};

class QueueCore::TimerHandle : public Handle<Timer, TimerState> {
 public:
  using Handle::Handle;
  void shiftBy(Duration offset) override {
    assert(running() == core_.get());
    const Lock lock(core_->mutex_);
    state_->deadline += offset;
  }
  TimePoint next() const override {
    assert(running() == core_.get());
    const Lock lock(core_->mutex_);
    return state_->deadline;
  }
};

class QueueCore::EventHandle : public Handle<EventSource, EventState> {
 public:
  using Handle::Handle;
  void signal() override {
    if (!state_->signalled.exchange(true)) core_->wakeFromElsewhere();
  }
};

QueueCore::QueueCore(std::string label, std::unique_ptr<Waker> waker)
    : label_(std::move(label)), waker_(std::move(waker)) {}

QueueCore::~QueueCore() = default;

const QueueCore* QueueCore::running() {
  return runningCore;
}

// The runner checks the queue again after each piece of work, so posts from its own thread need no
// wake-up.
void QueueCore::wakeFromElsewhere() {
  if (running() != this) waker_->wake();
}

void QueueCore::async(Task task) {
  {
    const Lock lock(mutex_);
    if (ended_) return;  // the parameter destroys the task after the lock is released
    tasks_.push_back(std::move(task));
  }
  wakeFromElsewhere();
}

void QueueCore::asyncAfter(Duration delay, Task task) {
  add(std::make_shared<TimerState>(TimerState{.handler = std::move(task),
                                              .deadline = waker_->now() + delay,
                                              .interval = Duration::zero()}));
}

std::unique_ptr<Timer> QueueCore::makeTimer(TimerSchedule schedule, Task handler) {
  assert(schedule.first >= Duration::zero() && schedule.interval >= Duration::zero() &&
         schedule.leeway >= Duration::zero());
  auto state = std::make_shared<TimerState>(TimerState{.handler = std::move(handler),
                                                       .deadline = waker_->now() + schedule.first,
                                                       .interval = schedule.interval,
                                                       .leeway = schedule.leeway});
  add(state);
  return std::make_unique<TimerHandle>(shared_from_this(), std::move(state));
}

void QueueCore::add(std::shared_ptr<TimerState> timer) {
  {
    const Lock lock(mutex_);
    if (ended_) return;
    timer->id = nextId_++;
    timers_.push_back(std::move(timer));
  }
  wakeFromElsewhere();
}

std::unique_ptr<ReadSource> QueueCore::makeReadSource(int descriptor, Task handler) {
  auto state = std::make_shared<ReadState>(
      ReadState{.handler = std::move(handler), .descriptor = descriptor});
  {
    const Lock lock(mutex_);
    if (!ended_) {
      state->id = nextId_++;
      readSources_.push_back(state);
      waker_->arm(state->id, descriptor);
    }
  }
  return std::make_unique<Handle<ReadSource, ReadState>>(shared_from_this(), std::move(state));
}

std::unique_ptr<EventSource> QueueCore::makeEventSource(Task handler) {
  auto state = std::make_shared<EventState>();
  state->handler = std::move(handler);
  {
    const Lock lock(mutex_);
    if (!ended_) eventSources_.push_back(state);
  }
  return std::make_unique<EventHandle>(shared_from_this(), std::move(state));
}

void QueueCore::remove(const std::shared_ptr<TimerState>& timer) {
  const Lock lock(mutex_);
  std::erase(timers_, timer);
}

void QueueCore::remove(const std::shared_ptr<ReadState>& source) {
  const Lock lock(mutex_);
  if (std::erase(readSources_, source) > 0) waker_->disarm(source->id, source->descriptor);
}

void QueueCore::remove(const std::shared_ptr<EventState>& source) {
  const Lock lock(mutex_);
  std::erase(eventSources_, source);
}

std::shared_ptr<QueueCore::TimerState> QueueCore::takeDueTimer() {
  const auto earlier = [](const auto& a, const auto& b) {
    return std::pair(a->deadline, a->id) < std::pair(b->deadline, b->id);
  };
  const auto first = std::min_element(timers_.begin(), timers_.end(), earlier);
  if (first == timers_.end()) return nullptr;
  const auto now = waker_->now();
  if ((*first)->deadline > now) return nullptr;

  auto timer = *first;
  if (timer->interval == Duration::zero()) {
    timers_.erase(first);
  } else {
    const auto missed = (now - timer->deadline) / timer->interval;
    timer->deadline += (missed + 1) * timer->interval;
  }
  return timer;
}

std::shared_ptr<QueueCore::EventState> QueueCore::takeSignalledEvent() {
  for (const auto& source : eventSources_) {
    if (source->signalled.exchange(false)) return source;
  }
  return nullptr;
}

std::shared_ptr<QueueCore::ReadState> QueueCore::takeReadable() {
  const auto source = std::ranges::find_if(readSources_, [](const auto& s) { return s->readable; });
  if (source == readSources_.end()) return nullptr;
  (*source)->readable = false;
  return *source;
}

bool QueueCore::runOne() {
  std::shared_ptr<TimerState> timer;
  std::shared_ptr<EventState> event;
  std::shared_ptr<ReadState> read;
  Task task;
  {
    const Lock lock(mutex_);
    if (ended_) return false;
    timer = takeDueTimer();
    // Sources and tasks take turns, so that a flood on one does not starve the others.
    for (unsigned tried = 0; tried < 3 && !timer && !event && !read && !task; ++tried) {
      switch (turn_++ % 3) {
        case 0:
          event = takeSignalledEvent();
          break;
        case 1:
          read = takeReadable();
          break;
        default:
          if (!tasks_.empty()) {
            task = std::move(tasks_.front());
            tasks_.pop_front();
          }
      }
    }
  }

  if (timer) {
    run(timer->handler);
  } else if (event) {
    run(event->handler);
  } else if (read) {
    run(read->handler);
    const Lock lock(mutex_);
    if (std::ranges::find(readSources_, read) != readSources_.end()) {
      waker_->arm(read->id, read->descriptor);
    }
  } else if (task) {
    run(task);
  } else {
    return false;
  }
  return true;
}

void QueueCore::run(Task& work) {
  const auto* const before = std::exchange(runningCore, this);
  work();
  runningCore = before;
}

std::optional<TimePoint> QueueCore::nextDeadline() {
  const Lock lock(mutex_);
  if (timers_.empty()) return std::nullopt;
  auto latest = TimePoint::max();
  for (const auto& timer : timers_) latest = std::min(latest, timer->deadline + timer->leeway);
  // Timers due by then share the wake-up; a single timer is not delayed.
  auto shared = TimePoint::min();
  for (const auto& timer : timers_) {
    if (timer->deadline <= latest) shared = std::max(shared, timer->deadline);
  }
  return shared;
}

void QueueCore::markReadable(std::uint64_t id) {
  const Lock lock(mutex_);
  const auto source = std::ranges::find(readSources_, id, [](const auto& s) { return s->id; });
  if (source != readSources_.end()) (*source)->readable = true;
}

void QueueCore::end() {
  // Destroying a closure may call this queue: empty it first, destroy afterwards.
  std::deque<Task> tasks;
  std::vector<std::shared_ptr<TimerState>> timers;
  std::vector<std::shared_ptr<ReadState>> readSources;
  std::vector<std::shared_ptr<EventState>> eventSources;
  {
    const Lock lock(mutex_);
    ended_ = true;
    tasks.swap(tasks_);
    timers.swap(timers_);
    readSources.swap(readSources_);
    eventSources.swap(eventSources_);
    for (const auto& source : readSources) waker_->disarm(source->id, source->descriptor);
  }
  for (const auto& timer : timers) timer->handler = nullptr;
  for (const auto& source : readSources) source->handler = nullptr;
  for (const auto& source : eventSources) source->handler = nullptr;
}

}  // namespace quorin::dispatch
