#pragma once

#include "core/queue.h"
#include "core/thread_safety.h"

#include <deque>
#include <memory>
#include <optional>
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
  /// Reports `descriptor` once to the runner when it is readable; armed anew after each report.
  virtual void arm(int descriptor) = 0;
  virtual void disarm(int descriptor) = 0;

 protected:
  Waker() = default;
};

/// State and ordering of one serial queue, run by a thread, Qt's event loop or simulated time.
/// Shared with every handle (timer, source), so handles may outlive the queue.
class QueueCore {
 public:
  explicit QueueCore(std::unique_ptr<Waker> waker);
  ~QueueCore();
  QueueCore(const QueueCore&) = delete;
  QueueCore& operator=(const QueueCore&) = delete;

  Waker& waker() { return *waker_; }

  // For the runner, on the queue's thread.

  /// Runs the next piece of work that is due, if any.
  bool runOne();
  /// When the runner should wake up next: as late as the leeways of the earliest timers permit, so
  /// that they share one wake-up.
  std::optional<TimePoint> nextDeadline();
  void markReadable(int descriptor);
  /// Destroys all work without running it. Not while work is running.
  void end();

  /// The core whose work the calling thread is running, or null.
  static const QueueCore* running();

 private:
  friend class Queue;
  struct TimerState;
  struct SourceState;
  template <typename Base, typename State>
  class Handle;
  class TimerHandle;
  class EventHandle;

  void add(Task task);
  std::shared_ptr<TimerState> addTimer(TimerSchedule schedule, Task handler);
  std::shared_ptr<SourceState> addSource(Task handler, std::optional<int> descriptor);
  void remove(const std::shared_ptr<TimerState>& timer);
  void remove(const std::shared_ptr<SourceState>& source);
  void wakeFromElsewhere();
  void run(Task& work);

  std::shared_ptr<TimerState> takeDueTimer() REQUIRES(mutex_);
  std::shared_ptr<SourceState> takeReady() REQUIRES(mutex_);
  Task takeTask() REQUIRES(mutex_);

  const std::unique_ptr<Waker> waker_;

  Mutex mutex_;
  bool ended_ GUARDED_BY(mutex_) = false;
  bool taskIsNext_ GUARDED_BY(mutex_) = false;
  std::deque<Task> tasks_ GUARDED_BY(mutex_);
  std::vector<std::shared_ptr<TimerState>> timers_ GUARDED_BY(mutex_);    ///< in creation order
  std::vector<std::shared_ptr<SourceState>> sources_ GUARDED_BY(mutex_);  ///< next to run first
};

}  // namespace quorin::dispatch
