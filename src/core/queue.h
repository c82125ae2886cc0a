#pragma once

#include "core/scope.h"

#include <chrono>
#include <memory>
#include <string>

/// Serial queues, timers and sources: the only way in which this program runs anything later or
/// elsewhere.
namespace quorin::dispatch {

using Duration = std::chrono::nanoseconds;
/// Monotonic; stands still while the machine is suspended.
using TimePoint = std::chrono::time_point<std::chrono::steady_clock, Duration>;
/// Runs on during suspend and is never set: measures how long ago something happened.
struct BootClock;
using BootTime = std::chrono::time_point<BootClock, Duration>;
/// The system's absolute time, to be shown; follows changes of the system clock.
using WallTime = std::chrono::time_point<std::chrono::system_clock, Duration>;

struct TimerSchedule {
  Duration first{0};     ///< from creation to the first run; 0 runs at the queue's next turn
  Duration interval{0};  ///< 0: runs once
  Duration leeway{0};    ///< how late a run may be to share a wake-up with others of its queue
};

/// A timer runs its handler on its queue at creation + first + n x interval, without drift. Runs
/// that could not happen in time (a busy queue) coalesce into one.
///
/// Destroying the handle cancels. On the timer's own queue, also from inside the handler, that is
/// exact: the handler does not run again. From elsewhere a handler that has begun may still be
/// running when the destructor returns (it is not waited for), so such a handler owns what it uses.
class Timer {
 public:
  virtual ~Timer() = default;
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

  // On its queue:

  /// Moves every later run by `offset`.
  virtual void shiftBy(Duration offset) = 0;
  /// When it is to run next, however late the present run is.
  virtual TimePoint next() const = 0;

 protected:
  Timer() = default;
};

/// Runs its handler on its queue whenever the descriptor is readable, again and again until the
/// data is read. Does not own the descriptor, which must outlive the handle. Cancelled by
/// destruction, with the rules of `Timer`.
class ReadSource {
 public:
  virtual ~ReadSource() = default;
  ReadSource(const ReadSource&) = delete;
  ReadSource& operator=(const ReadSource&) = delete;

 protected:
  ReadSource() = default;
};

/// Runs its handler on its queue after `signal`; signals that come before the handler has begun
/// coalesce. The way for a thread that may neither allocate nor wait to hand work over.
/// Cancelled by destruction, with the rules of `Timer`.
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

/// Runs work one piece at a time: posted tasks in the order of posting, delayed tasks and timers
/// in the order of their deadlines, before posted tasks where both are due.
///
/// All operations may be called from any thread. Work that is still waiting when the queue ends
/// is destroyed without running, on the thread that ends the queue; timers and sources of an
/// ended queue are inert and their handles may outlive it.
class Queue {
 public:
  virtual ~Queue() = default;
  Queue(const Queue&) = delete;
  Queue& operator=(const Queue&) = delete;

  virtual const std::string& label() const = 0;

  virtual void async(Task task) = 0;
  void async(const Scope& scope, Task task) { async(scope.bind(std::move(task))); }

  virtual void asyncAfter(Duration delay, Task task) = 0;
  void asyncAfter(Duration delay, const Scope& scope, Task task) {
    asyncAfter(delay, scope.bind(std::move(task)));
  }

  [[nodiscard]] virtual std::unique_ptr<Timer> makeTimer(TimerSchedule schedule, Task handler) = 0;
  [[nodiscard]] virtual std::unique_ptr<ReadSource> makeReadSource(int descriptor,
                                                                   Task handler) = 0;
  [[nodiscard]] virtual std::unique_ptr<EventSource> makeEventSource(Task handler) = 0;

  /// True while the calling thread runs work of this queue; on the main queue, also on the main
  /// thread outside any posted work.
  virtual bool isCurrent() const = 0;

 protected:
  Queue() = default;
};

/// A queue of its own thread.
class SerialQueue : public Queue {
 public:
  /// Ends the queue as its destruction does, and leaves it inert: what is given to it afterwards
  /// is dropped. For a queue that others still refer to. Waits for the piece of work that is
  /// running, so never from the queue's own work. Ending twice is ending once.
  virtual void end() = 0;
};

}  // namespace quorin::dispatch
