#pragma once

#include "core/queue.h"
#include "core/thread_safety.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorin::dispatch {

/// What a queue needs from its runner: the time, wake-ups and descriptor readiness. One
/// implementation sleeps in epoll, the other is simulated.
class Waker {
 public:
  virtual ~Waker() = default;
  Waker(const Waker&) = delete;
  Waker& operator=(const Waker&) = delete;

  virtual TimePoint now() const = 0;
  /// Any thread, lock-free: makes the runner check its queue again.
  virtual void wake() = 0;
  /// Reports `id` once to the runner when `descriptor` is readable; armed anew after each report.
  virtual void arm(std::uint64_t id, int descriptor) = 0;
  virtual void disarm(std::uint64_t id, int descriptor) = 0;

 protected:
  Waker() = default;
};

/// State and ordering of one serial queue, run by a thread, Qt's event loop or simulated time.
/// Shared with every handle (timer, source), so handles may outlive the queue.
class QueueCore : public std::enable_shared_from_this<QueueCore> {
 public:
  QueueCore(std::string label, std::unique_ptr<Waker> waker);
  ~QueueCore();
  QueueCore(const QueueCore&) = delete;
  QueueCore& operator=(const QueueCore&) = delete;

  const std::string& label() const { return label_; }
  Waker& waker() { return *waker_; }

  void async(Task task);
  void asyncAfter(Duration delay, Task task);
  std::unique_ptr<Timer> makeTimer(TimerSchedule schedule, Task handler);
  std::unique_ptr<ReadSource> makeReadSource(int descriptor, Task handler);
  std::unique_ptr<EventSource> makeEventSource(Task handler);

  // For the runner, on the queue's thread.

  /// Runs the next piece of work that is due, if any.
  bool runOne();
  /// When the runner should wake up next: as late as the leeways of the earliest timers permit, so
  /// that they share one wake-up.
  std::optional<TimePoint> nextDeadline();
  void markReadable(std::uint64_t id);
  /// Destroys all work without running it. Not while work is running.
  void end();

  /// The core whose work the calling thread is running, or null.
  static const QueueCore* running();

  struct TimerState;
  struct ReadState;
  struct EventState;

 private:
  template <typename Base, typename State>
  class Handle;
  class TimerHandle;
  class EventHandle;

  void add(std::shared_ptr<TimerState> timer);
  void remove(const std::shared_ptr<TimerState>& timer);
  void remove(const std::shared_ptr<ReadState>& source);
  void remove(const std::shared_ptr<EventState>& source);
  void wakeFromElsewhere();
  void run(Task& work);

  std::shared_ptr<TimerState> takeDueTimer() REQUIRES(mutex_);
  std::shared_ptr<EventState> takeSignalledEvent() REQUIRES(mutex_);
  std::shared_ptr<ReadState> takeReadable() REQUIRES(mutex_);

  const std::string label_;
  const std::unique_ptr<Waker> waker_;

  Mutex mutex_;
  bool ended_ GUARDED_BY(mutex_) = false;
  std::uint64_t nextId_ GUARDED_BY(mutex_) = 1;
  unsigned turn_ GUARDED_BY(mutex_) = 0;
  std::deque<Task> tasks_ GUARDED_BY(mutex_);
  std::vector<std::shared_ptr<TimerState>> timers_ GUARDED_BY(mutex_);
  std::vector<std::shared_ptr<ReadState>> readSources_ GUARDED_BY(mutex_);
  std::vector<std::shared_ptr<EventState>> eventSources_ GUARDED_BY(mutex_);
};

/// A `Queue` on top of a core; the derived class supplies the runner.
template <typename Base>
class CoreQueue : public Base {
 public:
  explicit CoreQueue(std::shared_ptr<QueueCore> core) : core_(std::move(core)) {}

  using Base::async;
  using Base::asyncAfter;
  const std::string& label() const override { return core_->label(); }
  void async(Task task) override { core_->async(std::move(task)); }
  void asyncAfter(Duration delay, Task task) override { core_->asyncAfter(delay, std::move(task)); }
  std::unique_ptr<Timer> makeTimer(TimerSchedule schedule, Task handler) override {
    return core_->makeTimer(schedule, std::move(handler));
  }
  std::unique_ptr<ReadSource> makeReadSource(int descriptor, Task handler) override {
    return core_->makeReadSource(descriptor, std::move(handler));
  }
  std::unique_ptr<EventSource> makeEventSource(Task handler) override {
    return core_->makeEventSource(std::move(handler));
  }
  bool isCurrent() const override { return QueueCore::running() == core_.get(); }

 protected:
  const std::shared_ptr<QueueCore> core_;
};

}  // namespace quorin::dispatch
