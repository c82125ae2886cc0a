#pragma once

#include "core/scheduler.h"

#include <memory>
#include <string>

namespace quorin::dispatch {

class QueueCore;

/// Runs every queue on the calling thread; time passes only in `advance`. Deterministic: work runs
/// in deadline order, queues take turns in order of creation.
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
  std::unique_ptr<SerialQueue> makeSerialQueue(const std::string& label,
                                               Priority priority) override;
  using Scheduler::makeSerialQueue;

  /// Runs all work due now, including work it adds.
  void runPending();

  /// Advances by `duration`, running all work at its deadline, and readable sources in between.
  void advance(Duration duration);

  /// Makes the clocks jump, as on a stalled machine or when a clock is set; runs that became due
  /// are coalesced and happen in the next `runPending` or `advance`.
  void jump(Duration monotonic, Duration wall);

  struct State;

 private:
  std::shared_ptr<State> state_;
  std::unique_ptr<SerialQueue> main_;
  std::unique_ptr<SerialQueue> utility_;
  std::unique_ptr<SerialQueue> background_;
};

}  // namespace quorin::dispatch
