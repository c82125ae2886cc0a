#include "quorin-listen/listener.h"

#include "platform/posix/file_descriptor.h"
#include "quorin-listen/cable_source.h"
#include "quorin-listen/jitter_plot.h"
#include "quorin-listen/outputs.h"
#include "quorin-listen/report.h"
#include "quorin-listen/udp_source.h"
#include "wire/cable_frames.h"
#include "wire/displayable.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/time.h>
#include <unistd.h>

#include <QGuiApplication>
#include <QLoggingCategory>
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

void onTermination(int) {
  const int before = errno;
  (void)::eventfd_write(terminationEvent, 1);
  constexpr timeval kInterval{.tv_sec = 0, .tv_usec = 200'000};
  constexpr itimerval kAgainAndAgain{.it_interval = kInterval, .it_value = kInterval};
  ::setitimer(ITIMER_REAL, &kAgainAndAgain, nullptr);
  errno = before;
}

/// Readable once SIGINT or SIGTERM has come. From then on a timer interrupts any write that waits,
/// which makes it fail: the reader of a pipe who does not read cannot keep the program alive.
posix::FileDescriptor watchForTermination() {
  posix::FileDescriptor event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  terminationEvent = event.get();
  struct sigaction action{};  // without SA_RESTART
  action.sa_handler = onTermination;
  ::sigaction(SIGINT, &action, nullptr);
  ::sigaction(SIGTERM, &action, nullptr);
  action.sa_handler = [](int) {};
  ::sigaction(SIGALRM, &action, nullptr);
  std::signal(SIGPIPE, SIG_IGN);  // a reader that has gone is an error like a full disk
  return event;
}

/// The line that is written over itself; silent where nobody watches.
class LiveLine {
 public:
  LiveLine() : shown_(::isatty(STDOUT_FILENO) == 1) {}
  ~LiveLine() {
    if (shown_) std::cout << '\n' << std::flush;
  }
  LiveLine(const LiveLine&) = delete;
  LiveLine& operator=(const LiveLine&) = delete;

  TimePoint next() const { return shown_ ? next_ : TimePoint::max(); }
  void showIfDue(const Reception& reception, const SoundSource& source, TimePoint now) {
    if (now < next()) return;
    next_ = now + kLiveLineInterval;
    std::cout << "\r\033[K" << (source.joined() ? liveLine(reception, wallNow()) : source.joining())
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

/// One run: a source, what it brought, and where that goes.
class Listening {
 public:
  Listening(std::unique_ptr<SoundSource> source, Outputs outputs)
      : source_(std::move(source)), outputs_(std::move(outputs)) {}

  /// Ends without a value when the time is up or `termination` is readable.
  std::optional<Ending> run(const posix::FileDescriptor& termination, const Options& options);

  std::expected<void, std::string> finishOutputs() { return outputs_.finish(); }

  const SoundSource& source() const { return *source_; }
  const Reception& reception() const { return reception_; }
  Report report() const { return reportOf(reception_, source_->roundTrip()); }

 private:
  void take(const Sound& sound) {
    const auto samples = reception_.add(sound);
    if (broken_) return;
    if (auto added = outputs_.add(sound, samples); !added) {
      broken_ = Ending{.code = kFailed, .sentence = std::move(added.error())};
    }
  }

  std::unique_ptr<SoundSource> source_;
  Outputs outputs_;
  Reception reception_;
  std::optional<Ending> broken_;
};

std::optional<Ending> Listening::run(const posix::FileDescriptor& termination,
                                     const Options& options) {
  std::array<pollfd, 2> watched{
      pollfd{.fd = termination.get(), .events = POLLIN, .revents = 0},
      pollfd{.fd = source_->descriptor(), .events = POLLIN, .revents = 0}};
  LiveLine line;
  auto end = TimePoint::max();
  while (steadyNow() < end && (watched[0].revents & POLLIN) == 0) {
    source_->serve(steadyNow(), [this](const Sound& sound) { take(sound); });
    if (broken_) break;
    if (auto ending = source_->ending()) return ending;
    if (options.duration && source_->joined() && end == TimePoint::max()) {
      end = steadyNow() + *options.duration;
    }
    line.showIfDue(reception_, *source_, steadyNow());
    waitUntil(std::min({source_->nextDeadline(), line.next(), end}), watched);
  }
  source_->leave(steadyNow());
  return broken_;
}

bool drawPlot(const std::string& path, const Reception& reception, bool cable) {
  ::qputenv("QT_QPA_PLATFORM", "offscreen");
  // A session without a runtime folder is told so, which does not matter to a picture.
  QLoggingCategory::setFilterRules("default.warning=false");
  int argc = 1;
  std::array<char, 14> name{"quorin-listen"};
  std::array<char*, 2> argv{name.data(), nullptr};
  const QGuiApplication application(argc, argv.data());
  const auto title = "Arrival of " + std::to_string(reception.arrivals().datagrams()) +
                     (cable ? " frames" : " datagrams");
  return drawJitter(reception.arrivals().deviationsMs(), title)
      .save(QString::fromStdString(path), "PNG");
}

std::expected<std::unique_ptr<SoundSource>, std::string> openSource(const Options& options) {
  if (!options.cable) return UdpSource::open(options.server, steadyNow());
  return CableSource::open(options.port.value_or(wire::kCablePort), [](std::string_view text) {
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
  const auto termination = watchForTermination();
  auto outputs = Outputs::open(options);
  if (!outputs) return failed({.code = kFailed, .sentence = std::move(outputs.error())});
  auto source = openSource(options);
  if (!source) return failed({.code = kFailed, .sentence = std::move(source.error())});

  Listening listening(std::move(*source), std::move(*outputs));
  if (const auto ending = listening.run(termination, options)) return failed(*ending);
  if (auto finished = listening.finishOutputs(); !finished) {
    return failed({.code = kFailed, .sentence = std::move(finished.error())});
  }

  std::cout << (options.json ? asJson(listening.report()) : asText(listening.report()))
            << std::flush;
  if (options.plot && !drawPlot(*options.plot, listening.reception(), options.cable)) {
    return failed(
        {.code = kFailed,
         .sentence = "Cannot write " + *options.plot + ". Choose another place for the picture."});
  }
  if (auto error = listening.source().protocolError()) {
    return failed({.code = kFailed, .sentence = std::move(*error)});
  }
  return kListened;
}

}  // namespace quorin::listen
