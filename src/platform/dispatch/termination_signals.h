#pragma once

#include "core/queue.h"

#include <functional>
#include <memory>

namespace quorin::dispatch {

/// Turns SIGINT and SIGTERM into a call on a queue, so that the program ends normally: sockets
/// closed, threads joined. One at a time in a process; a second signal while the first is being
/// handled ends the process at once.
class TerminationSignals {
 public:
  /// `onTerminate` runs on `queue`, once.
  TerminationSignals(Queue& queue, std::function<void()> onTerminate);
  ~TerminationSignals();
  TerminationSignals(const TerminationSignals&) = delete;
  TerminationSignals& operator=(const TerminationSignals&) = delete;

 private:
  std::unique_ptr<EventSource> source_;
};

}  // namespace quorin::dispatch
