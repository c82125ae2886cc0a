#include "platform/dispatch/termination_signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <system_error>

namespace quorin::dispatch {
namespace {

std::atomic<int> signalPipe = -1;
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler may use it");

constexpr std::array kSignals = {SIGINT, SIGTERM};

void onSignal(int) {
  const int savedError = errno;
  const char byte = 1;
  [[maybe_unused]] const auto written = ::write(signalPipe, &byte, 1);
  errno = savedError;
}

}  // namespace

TerminationSignals::TerminationSignals(Queue& queue, std::function<void()> onTerminate) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe2");
  }
  reader_ = posix::FileDescriptor(ends[0]);
  writer_ = posix::FileDescriptor(ends[1]);
  signalPipe = writer_.get();
  source_ = queue.makeReadSource(reader_.get(), [this, onTerminate = std::move(onTerminate)] {
    source_.reset();
    onTerminate();
  });

  struct sigaction action{};
  action.sa_handler = onSignal;
  action.sa_flags = static_cast<int>(SA_RESETHAND);  // the second signal has its default effect
  for (const int signal : kSignals) ::sigaction(signal, &action, nullptr);
}

TerminationSignals::~TerminationSignals() {
  for (const int signal : kSignals) std::signal(signal, SIG_DFL);
  source_.reset();
  signalPipe = -1;
}

}  // namespace quorin::dispatch
