#include "platform/dispatch/termination_signals.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <utility>

namespace quorin::dispatch {
namespace {

std::atomic<EventSource*> terminate = nullptr;
static_assert(std::atomic<EventSource*>::is_always_lock_free, "a signal handler may use it");

constexpr std::array kSignals = {SIGINT, SIGTERM};

void onSignal(int) {
  const int savedError = errno;
  if (auto* const source = terminate.load()) source->signal();
  errno = savedError;
}

}  // namespace

TerminationSignals::TerminationSignals(Queue& queue, std::function<void()> onTerminate)
    : source_(queue.makeEventSource([onTerminate = std::move(onTerminate)]() mutable {
        if (const auto call = std::exchange(onTerminate, nullptr)) call();
      })) {
  terminate = source_.get();
  struct sigaction action{};
  action.sa_handler = onSignal;
  action.sa_flags = static_cast<int>(SA_RESETHAND);  // the second signal has its default effect
  for (const int signal : kSignals) ::sigaction(signal, &action, nullptr);
}

TerminationSignals::~TerminationSignals() {
  for (const int signal : kSignals) std::signal(signal, SIG_DFL);
  terminate = nullptr;
}

}  // namespace quorin::dispatch
