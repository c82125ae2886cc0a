#pragma once

#include "core/scheduler.h"

#include <memory>
#include <string>

namespace quorin::dispatch {

class QueueCore;

/// Every queue on the calling thread, and time that passes only in `advance`. Deterministic: what
/// is due first runs first, queues take turns in the order of their creation.
class SimulatedScheduler : public Scheduler {
 public:
  SimulatedScheduler();
  ~SimulatedScheduler() override;

  TimePoint now() const override;
  BootTime bootNow() const override;
  WallTime wallNow() const override;
  Queue& mainQueue() override;
  Queue& utilityQueue() override;
  Queue& backgroundQueue() override;
  void end() override;
  std::unique_ptr<SerialQueue> makeSerialQueue(std::string label, Priority priority) override;
  using Scheduler::makeSerialQueue;

  /// Runs all that is due now, also what that work makes due.
  void runPending();

  /// Lets `duration` pass, running everything at its own deadline, and what is readable between.
  void advance(Duration duration);

  /// The clocks jump, as on a stalled machine or when a clock is set; what became due runs,
  /// coalesced, at the next `runPending` or `advance`.
  void jump(Duration monotonic, Duration wall);

  struct State;

 private:
  std::shared_ptr<State> state_;
  std::unique_ptr<SerialQueue> main_;
  std::unique_ptr<SerialQueue> utility_;
  std::unique_ptr<SerialQueue> background_;
};

}  // namespace quorin::dispatch
