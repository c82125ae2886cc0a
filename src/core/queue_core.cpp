#include "core/queue_core.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <utility>

namespace quorin::dispatch {
namespace {

thread_local const QueueCore* runningCore = nullptr;

}  // namespace

struct QueueCore::TimerState {
  Task handler;
  TimePoint deadline;
  TimerSchedule schedule;
};

/// Of a read source, or without a descriptor of an event source.
struct QueueCore::SourceState {
  Task handler;
  std::optional<int> descriptor;
  std::atomic<bool> ready{false};
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

class QueueCore::EventHandle : public Handle<EventSource, SourceState> {
 public:
  using Handle::Handle;
  void signal() override {
    if (!state_->ready.exchange(true)) core_->wakeFromElsewhere();
  }
};

void Queue::async(Task task) {
  core_->add(std::move(task));
}

void Queue::asyncAfter(Duration delay, Task task) {
  core_->addTimer({.first = delay}, std::move(task));
}

std::unique_ptr<Timer> Queue::makeTimer(TimerSchedule schedule, Task handler) {
  assert(schedule.first >= Duration::zero() && schedule.interval >= Duration::zero() &&
         schedule.leeway >= Duration::zero());
  return std::make_unique<QueueCore::TimerHandle>(core_,
                                                  core_->addTimer(schedule, std::move(handler)));
}

std::unique_ptr<ReadSource> Queue::makeReadSource(int descriptor, Task handler) {
  return std::make_unique<QueueCore::Handle<ReadSource, QueueCore::SourceState>>(
      core_, core_->addSource(std::move(handler), descriptor));
}

std::unique_ptr<EventSource> Queue::makeEventSource(Task handler) {
  return std::make_unique<QueueCore::EventHandle>(core_, core_->addSource(std::move(handler), {}));
}

bool Queue::isCurrent() const {
  return QueueCore::running() == core_.get();
}

QueueCore::QueueCore(std::unique_ptr<Waker> waker) : waker_(std::move(waker)) {}

QueueCore::~QueueCore() = default;

const QueueCore* QueueCore::running() {
  return runningCore;
}

// The runner checks the queue again after each piece of work, so posts from its own thread need no
// wake-up.
void QueueCore::wakeFromElsewhere() {
  if (running() != this) waker_->wake();
}

void QueueCore::add(Task task) {
  {
    const Lock lock(mutex_);
    if (ended_) return;  // the parameter destroys the task after the lock is released
    tasks_.push_back(std::move(task));
  }
  wakeFromElsewhere();
}

std::shared_ptr<QueueCore::TimerState> QueueCore::addTimer(TimerSchedule schedule, Task handler) {
  auto timer = std::make_shared<TimerState>(
      TimerState{std::move(handler), waker_->now() + schedule.first, schedule});
  {
    const Lock lock(mutex_);
    if (ended_) return timer;
    timers_.push_back(timer);
  }
  wakeFromElsewhere();
  return timer;
}

std::shared_ptr<QueueCore::SourceState> QueueCore::addSource(Task handler,
                                                             std::optional<int> descriptor) {
  auto source = std::make_shared<SourceState>(std::move(handler), descriptor);
  const Lock lock(mutex_);
  if (ended_) return source;
  sources_.push_back(source);
  if (descriptor) waker_->arm(*descriptor);
  return source;
}

void QueueCore::remove(const std::shared_ptr<TimerState>& timer) {
  const Lock lock(mutex_);
  std::erase(timers_, timer);
}

void QueueCore::remove(const std::shared_ptr<SourceState>& source) {
  const Lock lock(mutex_);
  if (std::erase(sources_, source) > 0 && source->descriptor) waker_->disarm(*source->descriptor);
}

std::shared_ptr<QueueCore::TimerState> QueueCore::takeDueTimer() {
  const auto first = std::ranges::min_element(timers_, {}, &TimerState::deadline);
  if (first == timers_.end()) return nullptr;
  const auto now = waker_->now();
  auto timer = *first;
  if (timer->deadline > now) return nullptr;
  const auto interval = timer->schedule.interval;
  if (interval == Duration::zero()) {
    timers_.erase(first);
  } else {
    const auto missed = (now - timer->deadline) / interval;
    timer->deadline += (missed + 1) * interval;
  }
  return timer;
}

std::shared_ptr<QueueCore::SourceState> QueueCore::takeReady() {
  const auto source =
      std::ranges::find_if(sources_, [](const auto& s) { return s->ready.exchange(false); });
  if (source == sources_.end()) return nullptr;
  std::rotate(source, source + 1, sources_.end());  // the others have their turn before it
  return sources_.back();
}

Task QueueCore::takeTask() {
  if (tasks_.empty()) return nullptr;
  auto task = std::move(tasks_.front());
  tasks_.pop_front();
  return task;
}

bool QueueCore::runOne() {
  std::shared_ptr<TimerState> timer;
  std::shared_ptr<SourceState> source;
  Task task;
  {
    const Lock lock(mutex_);
    if (ended_) return false;
    timer = takeDueTimer();
    // Sources and tasks take turns, so that a flood on one does not starve the others.
    taskIsNext_ = !taskIsNext_;
    if (!timer && taskIsNext_) task = takeTask();
    if (!timer && !task) source = takeReady();
    if (!timer && !task && !source) task = takeTask();
  }

  if (timer) {
    run(timer->handler);
  } else if (source) {
    run(source->handler);
    const Lock lock(mutex_);
    if (source->descriptor && std::ranges::find(sources_, source) != sources_.end()) {
      waker_->arm(*source->descriptor);
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
  for (const auto& timer : timers_) {
    latest = std::min(latest, timer->deadline + timer->schedule.leeway);
  }
  // Timers due by then share the wake-up; a single timer is not delayed.
  auto shared = TimePoint::min();
  for (const auto& timer : timers_) {
    if (timer->deadline <= latest) shared = std::max(shared, timer->deadline);
  }
  return shared;
}

void QueueCore::markReadable(int descriptor) {
  const Lock lock(mutex_);
  const auto source =
      std::ranges::find(sources_, descriptor, [](const auto& s) { return s->descriptor; });
  if (source != sources_.end()) (*source)->ready = true;
}

void QueueCore::end() {
  // Destroying a closure may call this queue: empty it first, destroy afterwards.
  std::deque<Task> tasks;
  std::vector<std::shared_ptr<TimerState>> timers;
  std::vector<std::shared_ptr<SourceState>> sources;
  {
    const Lock lock(mutex_);
    ended_ = true;
    tasks.swap(tasks_);
    timers.swap(timers_);
    sources.swap(sources_);
    for (const auto& source : sources) {
      if (source->descriptor) waker_->disarm(*source->descriptor);
    }
  }
  for (const auto& timer : timers) timer->handler = nullptr;
  for (const auto& source : sources) source->handler = nullptr;
}

}  // namespace quorin::dispatch
