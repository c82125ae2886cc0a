#pragma once

#include "core/scope.h"

#include <chrono>
#include <memory>
#include <utility>

/// Serial queues, timers and sources: the only means by which this program runs work later or on
/// another thread.
namespace quorin::dispatch {

using Duration = std::chrono::nanoseconds;
/// Monotonic; stands still while the machine is suspended.
using TimePoint = std::chrono::time_point<std::chrono::steady_clock, Duration>;
/// Counts suspend time and is never set: for elapsed time.
struct BootClock;
using BootTime = std::chrono::time_point<BootClock, Duration>;
/// Wall-clock time, for display; follows changes of the system clock.
using WallTime = std::chrono::time_point<std::chrono::system_clock, Duration>;

struct TimerSchedule {
  Duration first{0};     ///< from creation to the first run; 0 runs at the queue's next turn
  Duration interval{0};  ///< 0: runs once
  Duration leeway{0};    ///< max delay, to share a wake-up with other work of the queue
};

/// A timer runs its handler on its queue at creation + first + n x interval, without drift. Runs
/// that could not happen in time (a busy queue) coalesce into one.
///
/// Destroying the handle cancels. On the timer's own queue, even inside the handler, the handler
/// does not run again. On another thread, a running handler is not waited for and may outlast the
/// destructor, so it must own what it uses.
class Timer {
 public:
  virtual ~Timer() = default;
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

  // On its queue:

  /// Moves every later run by `offset`.
  virtual void shiftBy(Duration offset) = 0;
  /// The scheduled time of the next run, regardless of how late the current run is.
  virtual TimePoint next() const = 0;

 protected:
  Timer() = default;
};

/// Runs its handler on its queue whenever the descriptor is readable, repeatedly until the data is
/// read. The descriptor is not owned, must outlive the handle, and has one source. Destruction
/// cancels, as for `Timer`.
class ReadSource {
 public:
  virtual ~ReadSource() = default;
  ReadSource(const ReadSource&) = delete;
  ReadSource& operator=(const ReadSource&) = delete;

 protected:
  ReadSource() = default;
};

/// Runs its handler on its queue after `signal`; signals before the handler starts coalesce. For
/// threads that may neither allocate nor wait, and for signal handlers. Destruction cancels, as for
/// `Timer`.
class EventSource {
 public:
  virtual ~EventSource() = default;
  EventSource(const EventSource&) = delete;
  EventSource& operator=(const EventSource&) = delete;

  /// Any thread. Lock-free; at most one system call.
  virtual void signal() = 0;

 protected:
  EventSource() = default;
};

class QueueCore;

/// Runs one piece of work at a time: posted tasks in posting order, delayed tasks and timers in
/// deadline order; due timers go before posted tasks.
///
/// Any thread. Work pending when the queue ends is destroyed without running, on the thread that
/// ends the queue; its timers and sources become inert, and their handles may outlive the queue.
class Queue {
 public:
  virtual ~Queue() = default;
  Queue(const Queue&) = delete;
  Queue& operator=(const Queue&) = delete;

  void async(Task task);
  void async(const Scope& scope, Task task) { async(scope.bind(std::move(task))); }

  void asyncAfter(Duration delay, Task task);
  void asyncAfter(Duration delay, const Scope& scope, Task task) {
    asyncAfter(delay, scope.bind(std::move(task)));
  }

  [[nodiscard]] std::unique_ptr<Timer> makeTimer(TimerSchedule schedule, Task handler);
  [[nodiscard]] std::unique_ptr<ReadSource> makeReadSource(int descriptor, Task handler);
  [[nodiscard]] std::unique_ptr<EventSource> makeEventSource(Task handler);

  /// True while the calling thread runs work of this queue; on the main queue, also on the main
  /// thread outside any posted work.
  virtual bool isCurrent() const;

 protected:
  explicit Queue(std::shared_ptr<QueueCore> core) : core_(std::move(core)) {}

  const std::shared_ptr<QueueCore> core_;
};

/// A queue with its own thread.
class SerialQueue : public Queue {
 public:
  /// Ends the queue as destruction would, but keeps the object valid for those that still refer to
  /// it: later work is dropped. Waits for the running work, so never call it from the queue itself.
  /// Idempotent.
  virtual void end() = 0;

 protected:
  using Queue::Queue;
};

}  // namespace quorin::dispatch
