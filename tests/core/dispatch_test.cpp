#include "core/simulated_scheduler.h"
#include "platform/dispatch/realtime.h"
#include "platform/dispatch/system_scheduler.h"
#include "platform/posix/file_descriptor.h"
#include "support/private_bus.h"

#include <gmock/gmock.h>
#include <linux/capability.h>
#include <sched.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace quorin::dispatch {
namespace {

using namespace std::chrono_literals;

/// What every queue keeps to, on the real threads.
class DispatchTest : public testing::Test {
 protected:
  /// Lets the main queue run until `done`, for at most 5 s.
  [[nodiscard]] bool passUntil(const std::function<bool()>& done) {
    const auto end = scheduler_->now() + 5s;
    while (!done() && scheduler_->now() < end) {
      QCoreApplication::processEvents(QEventLoop::AllEvents);
    }
    return done();
  }

  /// Lets everything that is due on `queue` run, and `duration` pass.
  void pass(Queue& queue, Duration duration) {
    std::atomic<bool> passed = false;
    queue.asyncAfter(duration, [&] { passed = true; });
    EXPECT_TRUE(passUntil([&] { return passed.load(); }));
  }

  std::unique_ptr<SerialQueue> makeQueue() { return scheduler_->makeSerialQueue("test.queue"); }

  std::unique_ptr<Scheduler> scheduler_ = makeSystemScheduler();
};

TEST(SimulatedScheduler, ATimerDoesNotDriftAndMissedRunsCoalesce) {
  SimulatedScheduler scheduler;
  const auto start = scheduler.now();
  std::vector<Duration> at;
  const auto timer = scheduler.mainQueue().makeTimer({.first = 5ms, .interval = 10ms}, [&] {
    at.push_back(scheduler.now() - start);
    scheduler.jump(at.size() == 3 ? 24ms : 3ms, 0ms);  // what the handler takes
  });
  scheduler.advance(70ms);
  EXPECT_THAT(at, testing::ElementsAre(5ms, 15ms, 25ms, 49ms, 55ms, 65ms));
}

TEST_F(DispatchTest, ATimerEndsExactlyWhenItsHandlerDestroysIt) {
  auto& queue = scheduler_->mainQueue();
  int runs = 0;
  std::unique_ptr<Timer> timer;
  timer = queue.makeTimer({.interval = 1ms}, [&] {
    if (++runs == 3) timer.reset();
  });
  EXPECT_TRUE(passUntil([&] { return runs == 3; }));
  pass(queue, 20ms);
  EXPECT_EQ(runs, 3);
}

TEST_F(DispatchTest, EndingAQueueDropsWhatWaitsAndLeavesItsHandlesInert) {
  auto queue = makeQueue();
  const auto release = scheduler_->now() + 100ms;
  std::atomic<int> runs = 0;
  const auto token = std::make_shared<int>();
  std::atomic<bool> begun = false;
  queue->async([&] {  // keeps the queue's thread until its end has begun
    begun = true;
    while (scheduler_->now() < release) {
    }
  });
  EXPECT_TRUE(passUntil([&] { return begun.load(); }));
  const auto run = [&runs, token] { ++runs; };
  queue->async(run);
  queue->asyncAfter(1ms, run);
  auto timer = queue->makeTimer({.interval = 1ms}, run);
  auto event = queue->makeEventSource(run);
  EXPECT_EQ(token.use_count(), 6);

  queue.reset();
  EXPECT_EQ(token.use_count(), 2);  // all of it destroyed, none of it run
  event->signal();
  timer.reset();
  event.reset();
  pass(scheduler_->mainQueue(), 5ms);
  EXPECT_EQ(runs, 0);
}

TEST_F(DispatchTest, AnEndedSchedulerRunsNothingMore) {
  std::atomic<int> runs = 0;
  for (Queue* queue :
       {&scheduler_->mainQueue(), &scheduler_->utilityQueue(), &scheduler_->backgroundQueue()}) {
    queue->async([&] { ++runs; });
  }
  EXPECT_TRUE(passUntil([&] { return runs == 3; }));
  const auto main = scheduler_->mainQueue().makeTimer({.interval = 1ms}, [&] { ++runs; });
  scheduler_->end();
  const int atEnd = runs;
  scheduler_->utilityQueue().async([&] { ++runs; });
  pass(*makeQueue(), 5ms);
  EXPECT_EQ(runs, atEnd);
}

TEST_F(DispatchTest, AReadSourceRunsUntilTheDataIsReadAndNotAfterItsEnd) {
  const posix::FileDescriptor data(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK | EFD_SEMAPHORE));
  eventfd_t value{};
  for (Queue* queue : {&scheduler_->mainQueue(), &scheduler_->utilityQueue()}) {
    std::atomic<int> runs = 0;
    std::unique_ptr<ReadSource> source;
    ASSERT_EQ(::eventfd_write(data.get(), 4), 0);
    queue->async([&] {  // there, so that the handler cannot begin before the handle is stored
      source = queue->makeReadSource(data.get(), [&] {
        EXPECT_EQ(::eventfd_read(data.get(), &value), 0);
        if (++runs == 3) source.reset();
      });
    });
    EXPECT_TRUE(passUntil([&] { return runs == 3; }));
    pass(*queue, 5ms);
    EXPECT_EQ(runs, 3);
    EXPECT_EQ(::eventfd_read(data.get(), &value), 0);
  }
}

TEST_F(DispatchTest, AFloodOfTasksStarvesNoSource) {
  auto& queue = scheduler_->mainQueue();
  bool flooding = true;
  int tasks = 0;
  std::function<void()> flood = [&] {
    ++tasks;
    if (flooding && tasks < 1'000'000) queue.async(flood);
  };
  const posix::FileDescriptor readable(::eventfd(1, EFD_CLOEXEC));
  eventfd_t value{};
  const auto source = queue.makeReadSource(
      readable.get(), [&] { flooding = ::eventfd_read(readable.get(), &value) != 0; });
  queue.async(flood);
  EXPECT_TRUE(passUntil([&] { return !flooding; }));
  EXPECT_LT(tasks, 1000);
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

/// This thread and those it starts have no right to real-time scheduling of their own.
class WithoutRealtimeRight {
 public:
  WithoutRealtimeRight() {
    ::getrlimit(RLIMIT_RTPRIO, &limit_);
    const rlimit none{.rlim_cur = 0, .rlim_max = limit_.rlim_max};
    ::setrlimit(RLIMIT_RTPRIO, &none);
    ::syscall(SYS_capget, &header_, rights_.data());
    auto fewer = rights_;
    fewer[0].effective &= ~(1U << CAP_SYS_NICE);
    ::syscall(SYS_capset, &header_, fewer.data());
  }
  ~WithoutRealtimeRight() {
    ::syscall(SYS_capset, &header_, rights_.data());
    ::setrlimit(RLIMIT_RTPRIO, &limit_);
  }

 private:
  rlimit limit_{};
  __user_cap_header_struct header_{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
  std::array<__user_cap_data_struct, 2> rights_{};
};

/// Answers when the test says so.
class StandInRtkit : public QDBusVirtualObject {
 public:
  explicit StandInRtkit(const std::string& address)
      : bus_(QDBusConnection::connectToBus(QString::fromStdString(address), "rtkit")) {
    bus_.registerVirtualObject("/org/freedesktop/RealtimeKit1", this);
    bus_.registerService("org.freedesktop.RealtimeKit1");
  }
  ~StandInRtkit() override { QDBusConnection::disconnectFromBus("rtkit"); }
  QString introspect(const QString& /*path*/) const override { return {}; }
  bool handleMessage(const QDBusMessage& call, const QDBusConnection& /*bus*/) override {
    call.setDelayedReply(true);
    call_ = call;
    return true;
  }
  QVariantList asked() const { return call_.arguments(); }
  void answer() { bus_.send(call_.createReply()); }

 private:
  QDBusConnection bus_;
  QDBusMessage call_;
};

TEST(SystemScheduler, AsksRtkitWhereTheKernelRefusesAndNoQueueWaitsForTheAnswer) {
  if (!test::PrivateBus::isInstalled()) GTEST_SKIP() << "dbus-daemon is missing";
  const test::PrivateBus bus;
  ::qputenv("DBUS_SYSTEM_BUS_ADDRESS", QByteArray::fromStdString(bus.address()));
  const WithoutRealtimeRight none;
  StandInRtkit rtkit(bus.address());
  const auto scheduler = makeSystemScheduler();
  const auto queue = scheduler->makeSerialQueue("sound", Priority::kRealtime);
  std::atomic<pid_t> thread = 0;
  std::atomic<bool> watched = false;
  while (rtkit.asked().empty()) QCoreApplication::processEvents();

  queue->async([&] { thread = ::gettid(); });
  scheduler->utilityQueue().async([&] { watched = true; });
  while (thread == 0 || !watched) QCoreApplication::processEvents();
  EXPECT_EQ(rtkit.asked(), (QVariantList{qulonglong(::getpid()), qulonglong(thread.load()), 4U}));
  rtkit.answer();
}

}  // namespace
}  // namespace quorin::dispatch
