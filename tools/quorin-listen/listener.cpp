#include "quorin-listen/listener.h"

#include "platform/posix/file_descriptor.h"
#include "quorin-listen/cable_source.h"
#include "quorin-listen/outputs.h"
#include "quorin-listen/report.h"
#include "quorin-listen/udp_source.h"
#include "wire/text.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <iostream>
#include <memory>
#include <string>
#include <utility>

namespace quorin::listen {
namespace {

constexpr std::chrono::milliseconds kLiveLineInterval{250};

TimePoint steadyNow() {
  return std::chrono::steady_clock::now();
}

/// The clock of the kernel's stamps.
measure::Nanoseconds wallNow() {
  return std::chrono::system_clock::now().time_since_epoch();
}

int terminationEvent = -1;  // for the signal handler

/// Readable once SIGINT or SIGTERM has come. Both interrupt a write that waits, which makes it
/// fail: the reader of a pipe who does not read cannot keep the program alive. A second one kills.
posix::FileDescriptor watchForTermination() {
  posix::FileDescriptor event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  terminationEvent = event.get();
  struct sigaction action{};
  action.sa_flags = static_cast<int>(SA_RESETHAND);  // and without SA_RESTART
  action.sa_handler = [](int) {
    const int before = errno;
    (void)::eventfd_write(terminationEvent, 1);
    errno = before;
  };
  ::sigaction(SIGINT, &action, nullptr);
  ::sigaction(SIGTERM, &action, nullptr);
  return event;
}

/// The line that is written over itself; silent where stdout is no terminal.
class LiveLine {
 public:
  LiveLine() : shown_(::isatty(STDOUT_FILENO) == 1) {}
  ~LiveLine() {
    if (shown_) std::cout << '\n' << std::flush;
  }
  LiveLine(const LiveLine&) = delete;
  LiveLine& operator=(const LiveLine&) = delete;

  TimePoint next() const { return shown_ ? next_ : TimePoint::max(); }
  void showIfDue(const Report& report, const SoundSource& source, TimePoint now) {
    if (now < next()) return;
    next_ = now + kLiveLineInterval;
    std::cout << "\r\033[K" << (source.joined() ? report.liveLine(wallNow()) : "joining ...")
              << std::flush;
  }

 private:
  bool shown_;
  TimePoint next_;
};

void waitUntil(TimePoint wakeUp, std::array<pollfd, 2>& watched) {
  using std::chrono::milliseconds;
  const auto left = std::chrono::ceil<milliseconds>(wakeUp - steadyNow());
  const auto timeout = std::clamp(left, milliseconds(0), milliseconds(60'000));
  ::poll(watched.data(), watched.size(), static_cast<int>(timeout.count()));
}

/// Listens until the time is up or `termination` is readable, then without a value, or until the
/// source ends or an output cannot be written.
std::optional<Ending> run(SoundSource& source, Outputs& outputs, Report& report,
                          const posix::FileDescriptor& termination, const Options& options) {
  std::array<pollfd, 2> watched{pollfd{.fd = termination.get(), .events = POLLIN, .revents = 0},
                                pollfd{.fd = source.descriptor(), .events = POLLIN, .revents = 0}};
  LiveLine line;
  std::optional<Ending> broken;
  auto end = TimePoint::max();
  while (steadyNow() < end && (watched[0].revents & POLLIN) == 0 && !broken) {
    source.serve(steadyNow(), [&](const Sound& sound) {
      const auto samples = report.add(sound);
      if (broken) return;
      if (auto added = outputs.add(sound, samples); !added) {
        broken = Ending{.code = kFailed, .sentence = std::move(added.error())};
      }
    });
    if (auto ending = source.ending()) return ending;
    if (options.duration && source.joined() && end == TimePoint::max()) {
      end = steadyNow() + *options.duration;
    }
    line.showIfDue(report, source, steadyNow());
    waitUntil(broken ? steadyNow() : std::min({source.nextDeadline(), line.next(), end}), watched);
  }
  source.leave(steadyNow());
  return broken;
}

std::expected<std::unique_ptr<SoundSource>, std::string> openSource(const Options& options) {
  if (!options.cable) return UdpSource::open(options.server, steadyNow());
  return CableSource::open(options.port, [](std::string_view text) {
    if (::isatty(STDOUT_FILENO) == 1) std::cout << "\r\033[K" << std::flush;  // the live line's row
    std::cerr << "quorin-listen: the computer writes: " << wire::displayable(text) << '\n';
  });
}

ExitCode failed(const Ending& ending) {
  std::cerr << "quorin-listen: " << ending.sentence << '\n';
  return ending.code;
}

}  // namespace

ExitCode listen(const Options& options) {
  auto outputs = Outputs::open(options);  // a pipe may wait for its reader: signals end it as usual
  if (!outputs) return failed({.code = kFailed, .sentence = std::move(outputs.error())});
  const auto termination = watchForTermination();
  auto source = openSource(options);
  if (!source) return failed({.code = kFailed, .sentence = std::move(source.error())});

  Report report;
  if (const auto ending = run(**source, *outputs, report, termination, options)) {
    return failed(*ending);
  }
  const auto interruption = report.interruption(wallNow());
  if (auto finished = outputs->finish(); !finished) {
    return failed({.code = kFailed, .sentence = std::move(finished.error())});
  }
  std::cout << (options.json ? report.asJson() : report.asText()) << std::flush;
  auto error = (*source)->protocolError();
  if (!error) error = interruption;
  if (error) return failed({.code = kFailed, .sentence = std::move(*error)});
  return kListened;
}

}  // namespace quorin::listen
