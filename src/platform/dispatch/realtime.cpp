#include "platform/dispatch/realtime.h"

#include <poll.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <future>
#include <mutex>
#include <thread>
#include <utility>

namespace quorin::dispatch {
namespace {

/// Above ordinary programs, below PulseAudio's own threads (5) and PipeWire's (20 and more): sound
/// that the server has not mixed yet cannot be sent.
constexpr int kPriority = 4;

// CPU time without blocking. Above the soft limit the kernel sends a signal, above the hard limit
// it kills; rtkit rejects a process whose limit exceeds 200 ms.
constexpr rlim_t kHardLimitMicroseconds = 200'000;
rlimit overrunLimit{};

constexpr int kRtkitTimeoutMilliseconds = 2000;

// More than this program has real-time threads; ended ones are ignored.
std::array<std::atomic<pid_t>, 8> realtimeThreads;
static_assert(std::atomic<pid_t>::is_always_lock_free, "a signal handler uses it");

bool setPriority(pid_t thread, int policy, int priority) {
  const sched_param parameters{.sched_priority = priority};
  return ::sched_setscheduler(thread, policy | SCHED_RESET_ON_FORK, &parameters) == 0;
}

/// The signal may come to any thread, so all of them are slowed down, the runaway among them.
void onOverrun(int) {
  const int savedError = errno;
  ::setrlimit(RLIMIT_RTTIME, &overrunLimit);  // the kernel has raised it beyond the hard one
  for (auto& thread : realtimeThreads) {
    if (const auto id = thread.exchange(0); id != 0) setPriority(id, SCHED_OTHER, 0);
  }
  constexpr std::string_view kLine =
      "quorin.dispatch: a real-time thread ran for 100 ms without a pause; "
      "all go on with ordinary priority\n";
  pollfd output{.fd = STDERR_FILENO, .events = POLLOUT, .revents = 0};
  if (::poll(&output, 1, 0) == 1) {
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, kLine.data(), kLine.size());
  }
  errno = savedError;
}

void limitRealtime() {
  static std::once_flag once;
  std::call_once(once, [] {
    struct sigaction action{};
    action.sa_handler = onOverrun;
    action.sa_flags = static_cast<int>(SA_RESTART);
    ::sigaction(SIGXCPU, &action, nullptr);

    if (::getrlimit(RLIMIT_RTTIME, &overrunLimit) != 0) return;
    overrunLimit.rlim_max = std::min(overrunLimit.rlim_max, kHardLimitMicroseconds);
    overrunLimit.rlim_cur = overrunLimit.rlim_max / 2;
    ::setrlimit(RLIMIT_RTTIME, &overrunLimit);
  });
}

void remember(pid_t thread) {
  static std::atomic<std::size_t> next = 0;
  realtimeThreads[next++ % realtimeThreads.size()] = thread;
}

bool takeDirectly() {
  limitRealtime();
  remember(::gettid());
  return setPriority(0, SCHED_FIFO, kPriority);
}

QDBusMessage rtkitRequest(pid_t thread) {
  auto request = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.RealtimeKit1"),
                                                QStringLiteral("/org/freedesktop/RealtimeKit1"),
                                                QStringLiteral("org.freedesktop.RealtimeKit1"),
                                                QStringLiteral("MakeThreadRealtimeWithPID"));
  request << static_cast<qulonglong>(::getpid()) << static_cast<qulonglong>(thread)
          << static_cast<uint>(kPriority);
  return request;
}

}  // namespace

std::string_view describe(RealtimeGrant grant) {
  constexpr std::string_view kTexts[] = {"not granted", "granted by the kernel",
                                         "granted by rtkit"};
  return kTexts[std::to_underlying(grant)];
}

void requestRealtime(Queue& backgroundQueue) {
  if (takeDirectly()) return;
  // Sent without waiting: the reply is not needed, and must not delay other work of the queue.
  backgroundQueue.async(
      [thread = ::gettid()] { QDBusConnection::systemBus().send(rtkitRequest(thread)); });
}

RealtimeGrant tryRealtime() {
  std::promise<pid_t> refused;
  std::promise<void> done;
  auto grant = RealtimeGrant::kDirect;
  std::thread thread([&refused, end = done.get_future()] {
    refused.set_value(takeDirectly() ? 0 : ::gettid());
    end.wait();
  });
  if (const auto id = refused.get_future().get(); id != 0) {
    const auto answer = QDBusConnection::systemBus().call(rtkitRequest(id), QDBus::Block,
                                                          kRtkitTimeoutMilliseconds);
    const bool granted = answer.type() == QDBusMessage::ReplyMessage;
    grant = granted ? RealtimeGrant::kRtkit : RealtimeGrant::kNone;
  }
  done.set_value();
  thread.join();
  return grant;
}

}  // namespace quorin::dispatch
