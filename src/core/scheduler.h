#pragma once

#include "core/queue.h"

#include <memory>
#include <string>
#include <utility>

namespace quorin::dispatch {

enum class Priority {
  kNormal,
  /// Real-time scheduling where the system grants it (directly, else through rtkit); silently
  /// normal where it does not.
  kRealtime,
};

/// Time and queues. Everything that waits is given one at construction; tests give it simulated
/// time instead of the system's.
class Scheduler {
 public:
  virtual ~Scheduler() = default;
  Scheduler(const Scheduler&) = delete;
  Scheduler& operator=(const Scheduler&) = delete;

  virtual TimePoint now() const = 0;
  virtual BootTime bootNow() const = 0;
  virtual WallTime wallNow() const = 0;

  /// The thread of the event loop: views, and state that views show.
  virtual Queue& mainQueue() = 0;
  /// For polls and watches; never for work that must be on time, nor for what may block.
  virtual Queue& utilityQueue() = 0;
  /// For what may block: D-Bus calls, tables of the system, standard output.
  virtual Queue& backgroundQueue() = 0;

  /// Ends the main, the utility and the background queue as `SerialQueue::end` does: nothing runs
  /// later or elsewhere any more, and what their work uses can be destroyed in any order. From the
  /// main thread, not from queued work. What `makeSerialQueue` made ends by itself.
  virtual void end() = 0;

  [[nodiscard]] virtual std::unique_ptr<SerialQueue> makeSerialQueue(std::string label,
                                                                     Priority priority) = 0;
  [[nodiscard]] std::unique_ptr<SerialQueue> makeSerialQueue(std::string label) {
    return makeSerialQueue(std::move(label), Priority::kNormal);
  }

 protected:
  Scheduler() = default;
};

}  // namespace quorin::dispatch
