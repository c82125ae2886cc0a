#include "platform/dispatch/system_scheduler.h"

#include "platform/dispatch/realtime.h"
#include "support/private_bus.h"

#include <gmock/gmock.h>
#include <linux/capability.h>
#include <sched.h>
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

namespace quorin::dispatch {
namespace {

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
