#include "platform/dispatch/realtime.h"

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <algorithm>
#include <future>
#include <thread>

namespace quorin::dispatch {
namespace {

/// Above ordinary programs, below the audio server's own threads; rtkit grants up to 20.
constexpr int kPriority = 10;

/// Of processor time without a wait: a runaway thread ends the program, not the computer. rtkit
/// refuses a process that may spin for longer.
constexpr rlim_t kRealtimeLimitMicroseconds = 200'000;

constexpr int kRtkitTimeoutMilliseconds = 2000;

void limitRealtime() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_RTTIME, &limit) != 0) return;
  limit.rlim_cur = std::min(limit.rlim_max, kRealtimeLimitMicroseconds);
  limit.rlim_max = limit.rlim_cur;
  ::setrlimit(RLIMIT_RTTIME, &limit);
}

}  // namespace

std::string_view describe(RealtimeGrant grant) {
  switch (grant) {
    case RealtimeGrant::kDirect:
      return "granted by the kernel";
    case RealtimeGrant::kRtkit:
      return "granted by rtkit";
    case RealtimeGrant::kNone:
      break;
  }
  return "not granted";
}

bool takeRealtime() {
  limitRealtime();
  const sched_param parameters{.sched_priority = kPriority};
  return ::sched_setscheduler(0, SCHED_FIFO | SCHED_RESET_ON_FORK, &parameters) == 0;
}

bool takeRealtimeThroughRtkit(pid_t thread) {
  limitRealtime();
  auto request = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.RealtimeKit1"),
                                                QStringLiteral("/org/freedesktop/RealtimeKit1"),
                                                QStringLiteral("org.freedesktop.RealtimeKit1"),
                                                QStringLiteral("MakeThreadRealtimeWithPID"));
  request << static_cast<qulonglong>(::getpid()) << static_cast<qulonglong>(thread)
          << static_cast<uint>(kPriority);
  const auto answer =
      QDBusConnection::systemBus().call(request, QDBus::Block, kRtkitTimeoutMilliseconds);
  return answer.type() == QDBusMessage::ReplyMessage;
}

RealtimeGrant tryRealtime() {
  std::promise<pid_t> refused;
  std::promise<void> done;
  auto grant = RealtimeGrant::kDirect;
  std::thread thread([&refused, end = done.get_future()] {
    refused.set_value(takeRealtime() ? 0 : ::gettid());
    end.wait();
  });
  if (const auto id = refused.get_future().get(); id != 0) {
    grant = takeRealtimeThroughRtkit(id) ? RealtimeGrant::kRtkit : RealtimeGrant::kNone;
  }
  done.set_value();
  thread.join();
  return grant;
}

}  // namespace quorin::dispatch
