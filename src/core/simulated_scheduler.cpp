#include "core/simulated_scheduler.h"

#include "core/queue_core.h"

#include <poll.h>

#include <algorithm>
#include <set>
#include <vector>

namespace quorin::dispatch {
namespace {

/// An arbitrary, non-zero start time.
constexpr TimePoint kStart{std::chrono::hours{1}};
constexpr WallTime kWallStart{std::chrono::hours{24 * 365 * 50}};

}  // namespace

struct SimulatedScheduler::State {
  TimePoint now = kStart;
  WallTime wallNow = kWallStart;
  std::vector<std::weak_ptr<QueueCore>> cores;

  void pass(Duration duration) {
    now += duration;
    wallNow += duration;
  }

  std::vector<std::shared_ptr<QueueCore>> liveCores() {
    std::erase_if(cores, [](const auto& core) { return core.expired(); });
    std::vector<std::shared_ptr<QueueCore>> live;
    live.reserve(cores.size());
    for (const auto& core : cores) live.push_back(core.lock());
    return live;
  }
};

namespace {

class SimulatedWaker : public Waker {
 public:
  explicit SimulatedWaker(std::shared_ptr<SimulatedScheduler::State> state)
      : state_(std::move(state)) {}

  TimePoint now() const override { return state_->now; }
  void wake() override {}
  void arm(int descriptor) override { armed_.insert(descriptor); }
  void disarm(int descriptor) override { armed_.erase(descriptor); }

  void collect(QueueCore& core) {
    std::erase_if(armed_, [&core](int descriptor) {
      pollfd request{.fd = descriptor, .events = POLLIN, .revents = 0};
      const bool isReadable = ::poll(&request, 1, 0) > 0;
      if (isReadable) core.markReadable(descriptor);
      return isReadable;
    });
  }

 private:
  const std::shared_ptr<SimulatedScheduler::State> state_;
  std::set<int> armed_;
};

class SimulatedQueue : public SerialQueue {
 public:
  explicit SimulatedQueue(const std::shared_ptr<SimulatedScheduler::State>& state)
      : SerialQueue(std::make_shared<QueueCore>(std::make_unique<SimulatedWaker>(state))) {
    state->cores.push_back(core_);
  }
  ~SimulatedQueue() override { SimulatedQueue::end(); }
  void end() override { core_->end(); }
};

/// The calling thread counts as the main thread while no other queue's work runs.
class SimulatedMainQueue : public SimulatedQueue {
 public:
  using SimulatedQueue::SimulatedQueue;
  bool isCurrent() const override {
    return QueueCore::running() == nullptr || SimulatedQueue::isCurrent();
  }
};

}  // namespace

SimulatedScheduler::SimulatedScheduler()
    : state_(std::make_shared<State>()),
      main_(std::make_unique<SimulatedMainQueue>(state_)),
      utility_(std::make_unique<SimulatedQueue>(state_)),
      background_(std::make_unique<SimulatedQueue>(state_)) {}

SimulatedScheduler::~SimulatedScheduler() = default;

TimePoint SimulatedScheduler::now() const {
  return state_->now;
}
BootTime SimulatedScheduler::bootNow() const {
  return BootTime(state_->now.time_since_epoch());
}
WallTime SimulatedScheduler::wallNow() const {
  return state_->wallNow;
}
Queue& SimulatedScheduler::mainQueue() {
  return *main_;
}
Queue& SimulatedScheduler::utilityQueue() {
  return *utility_;
}
Queue& SimulatedScheduler::backgroundQueue() {
  return *background_;
}

void SimulatedScheduler::end() {
  background_->end();
  utility_->end();
  main_->end();
}

std::unique_ptr<SerialQueue> SimulatedScheduler::makeSerialQueue(const std::string&, Priority) {
  return std::make_unique<SimulatedQueue>(state_);
}

void SimulatedScheduler::runPending() {
  for (bool ran = true; ran;) {
    ran = false;
    for (const auto& core : state_->liveCores()) {
      static_cast<SimulatedWaker&>(core->waker()).collect(*core);
      ran = core->runOne() || ran;
    }
  }
}

void SimulatedScheduler::advance(Duration duration) {
  const auto target = state_->now + duration;
  runPending();
  while (true) {
    auto next = target;
    for (const auto& core : state_->liveCores()) {
      next = std::min(next, core->nextDeadline().value_or(target));
    }
    state_->pass(std::max(next - state_->now, Duration::zero()));
    runPending();
    if (next == target) return;
  }
}

void SimulatedScheduler::jump(Duration monotonic, Duration wall) {
  state_->now += monotonic;
  state_->wallNow += wall;
}

}  // namespace quorin::dispatch
