#include "platform/dispatch/system_scheduler.h"

#include "platform/dispatch/realtime.h"
#include "platform/dispatch/termination_signals.h"

#include <gmock/gmock.h>
#include <pthread.h>
#include <sched.h>

#include <QCoreApplication>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>

namespace quorin::dispatch {
namespace {

TEST(SystemScheduler, ARealtimeQueueHasThePriorityThatTheKernelGrants) {
  const auto scheduler = makeSystemScheduler();
  const auto queue = scheduler->makeSerialQueue("PTExample.audioFrameQueue", Priority::kRealtime);
  std::atomic<int> policy = -1;
  std::array<char, 16> name{};
  queue->async([&] {
    ::pthread_getname_np(::pthread_self(), name.data(), name.size());
    policy = ::sched_getscheduler(0);
  });
  while (policy == -1) QCoreApplication::processEvents();
  EXPECT_STREQ(name.data(), "audioFrameQueue");

  if (tryRealtime() == RealtimeGrant::kNone) GTEST_SKIP() << "no right to real-time here";
  EXPECT_EQ(policy & ~SCHED_RESET_ON_FORK, SCHED_FIFO);
}

TEST(SystemScheduler, ARunawayRealtimeQueueLosesItsPriorityAndNothingElse) {
  const auto scheduler = makeSystemScheduler();
  const auto queue = scheduler->makeSerialQueue("runaway", Priority::kRealtime);
  const auto policy = [] { return ::sched_getscheduler(0) & ~SCHED_RESET_ON_FORK; };
  std::atomic<int> outcome = -1;
  queue->async([&] {
    if (policy() != SCHED_FIFO) return outcome.store(-2);
    const auto end = scheduler->now() + std::chrono::seconds(5);
    while (policy() == SCHED_FIFO && scheduler->now() < end) {
    }
    outcome = policy();
  });
  while (outcome == -1) QCoreApplication::processEvents();
  if (outcome == -2) GTEST_SKIP() << "no right to real-time here";
  EXPECT_EQ(outcome, SCHED_OTHER);
}

TEST(TerminationSignals, ReachTheQueueOnceAndTheSecondEndsTheProcess) {
  const auto scheduler = makeSystemScheduler();
  for (const int signal : {SIGINT, SIGTERM}) {
    int calls = 0;
    const TerminationSignals watched(scheduler->mainQueue(), [&] { ++calls; });
    ::raise(signal);
    while (calls == 0) QCoreApplication::processEvents();
    EXPECT_EQ(calls, 1);
    EXPECT_EXIT(::raise(signal), testing::KilledBySignal(signal), "");
  }
}

}  // namespace
}  // namespace quorin::dispatch
