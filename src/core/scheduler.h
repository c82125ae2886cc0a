#pragma once

#include "core/queue.h"

#include <memory>
#include <string>

namespace quorin::dispatch {

enum class Priority {
  kNormal,
  /// Real-time scheduling where the system grants it (directly, else through rtkit); normal
  /// scheduling otherwise, without an error.
  kRealtime,
};

/// Clocks and queues. Passed to the constructor of every class that uses time; tests pass a
/// simulated one.
class Scheduler {
 public:
  virtual ~Scheduler() = default;
  Scheduler(const Scheduler&) = delete;
  Scheduler& operator=(const Scheduler&) = delete;

  virtual TimePoint now() const = 0;
  virtual BootTime bootNow() const = 0;
  virtual WallTime wallNow() const = 0;

  /// The event loop's thread: views, and the state they show.
  virtual Queue& mainQueue() = 0;
  /// For polls and watches; never for work that must be on time, nor for what may block.
  virtual Queue& utilityQueue() = 0;
  /// For blocking work: D-Bus calls, system tables, standard output.
  virtual Queue& backgroundQueue() = 0;

  /// Ends the main, the utility and the background queue as `SerialQueue::end` does: afterwards
  /// objects that their work uses can be destroyed in any order. Call on the main thread, not from
  /// queued work. Queues from `makeSerialQueue` end separately.
  virtual void end() = 0;

  /// `label` names its thread.
  [[nodiscard]] virtual std::unique_ptr<SerialQueue> makeSerialQueue(const std::string& label,
                                                                     Priority priority) = 0;
  [[nodiscard]] std::unique_ptr<SerialQueue> makeSerialQueue(const std::string& label) {
    return makeSerialQueue(label, Priority::kNormal);
  }

 protected:
  Scheduler() = default;
};

}  // namespace quorin::dispatch
