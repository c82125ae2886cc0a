// quorin-soak --minutes N [--seed N] [--report FILE]: lets the whole program run while its clients,
// its network, its audio devices and their servers come, go and misbehave, and watches that
// nothing breaks, leaks or is lost without a reason. Exit status 0 when nothing did.
#include "bench/bare_loop.h"
#include "bench/flood.h"
#include "bench/process_usage.h"
#include "soak/soak_client.h"
#include "soak/soak_plan.h"
#include "support/fake_usbmuxd.h"
#include "support/private_audio.h"
#include "support/temporary_directory.h"
#include "whole/whole_program.h"

#include <unistd.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QThreadPool>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <fstream>
#include <iomanip>
#include <map>
#include <sstream>
#include <thread>

namespace quorin::soak {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using whole::WholeProgram;

constexpr int kClients = 10;
/// After something happened, losses have a reason for this long: a client notices after 3 s that
/// nothing comes, and a flood holds its places for up to 10 s.
constexpr auto kExplainedFor = 15s;
constexpr auto kSampleInterval = 10s;
constexpr auto kWarmUp = 2min;
constexpr double kMaxGrowthMbAnHour = 1;
/// Of the deviation from 20 ms, p99: good enough on any machine, or near to what this one can do.
constexpr double kEvenPacingMs = 0.5;
constexpr double kPacingOverBareLoop = 1.5;

struct Sample {
  double hours = 0;
  double proportionalMb = 0;
  double anonymousMb = 0;
  std::size_t descriptors = 0;  ///< without the clients' own
  std::size_t threads = 0;
};

/// Least squares; 0 for fewer than three samples.
double growthAnHour(const std::vector<Sample>& samples, double Sample::* megabytes) {
  if (samples.size() < 3) return 0;
  double meanX = 0, meanY = 0, xy = 0, xx = 0;
  for (const auto& sample : samples) {
    meanX += sample.hours / static_cast<double>(samples.size());
    meanY += sample.*megabytes / static_cast<double>(samples.size());
  }
  for (const auto& sample : samples) {
    xy += (sample.hours - meanX) * (sample.*megabytes - meanY);
    xx += (sample.hours - meanX) * (sample.hours - meanX);
  }
  return xx > 0 ? xy / xx : 0;
}

class Soak {
 public:
  Soak(std::chrono::minutes length, unsigned seed) : length_(length), seed_(seed), plan_(seed) {}

  /// False when the world could not be set up.
  bool run();
  std::string report() const;
  std::vector<std::string> violations() const;

 private:
  void turn();
  void happen(Happening what);
  bool startAudio();
  void restartAudioServer();
  void useDevices(const std::string& output, const std::string& input);
  void expect(bool held, const std::string& what);
  void enterWifi();
  void everybodyScansAgain();
  void takeSample();
  void sleepBeside(const std::stop_token& stop);
  bool calm() const { return Clock::now() - disturbed_ > kExplainedFor; }

  std::chrono::minutes length_;
  unsigned seed_;
  WorldPlan plan_;
  Clock::time_point begin_;
  Clock::time_point disturbed_;
  Clock::time_point nextSample_;
  Clock::time_point nextLine_;

  test::TemporaryDirectory folder_;
  test::FakeUsbmuxd usb_{folder_.path() / "usb"};
  test::PrivatePulse audio_;
  test::ChildProcess player_;
  std::unique_ptr<WholeProgram> program_;

  int address_ = 2;
  std::optional<wire::Endpoint> server_;
  Experience experience_;
  std::atomic<bool> wasCalm_ = false;
  PacingHistogram bareLoop_;  ///< the loop's, until it has ended
  std::vector<std::unique_ptr<SoakClient>> clients_;
  std::map<std::string, int> happened_;
  std::vector<Sample> samples_;
  std::vector<std::string> broken_;
};

void Soak::expect(bool held, const std::string& what) {
  if (held) return;
  const auto minutes = std::chrono::duration<double, std::ratio<60>>(Clock::now() - begin_).count();
  std::ostringstream text;
  text << std::fixed << std::setprecision(1) << "minute " << minutes << ": " << what;
  broken_.push_back(text.str());
  std::fprintf(stderr, "\n%s\n", text.str().c_str());
}

bool Soak::startAudio() {
  const bool up = audio_.start() && audio_.addNullSink("quorin", "Quorin Audio 1", "norewinds=1") &&
                  audio_.addNullSink("quorin2", "Quorin Audio 2", "norewinds=1") &&
                  audio_.addNullSink("speaker", "Speaker");
  useDevices("quorin", "quorin");
  return up;
}

void Soak::useDevices(const std::string& output, const std::string& input) {
  audio_.setDefaultSink(output);
  audio_.setDefaultSource(input + ".monitor");
}

std::string addressText(int host) {
  return "10.11.0." + std::to_string(host);
}

void Soak::everybodyScansAgain() {
  server_.reset();
  for (auto& client : clients_) client->startAnew(Clock::now());
  const bool shown = program_->until([&] {
    return program_->shows("onlineQRImageView_") &&
           program_->accessibleName("onlineQRImageView_").contains(addressText(address_) + ":");
  });
  expect(shown, "the code of " + addressText(address_) + " did not come up");
  expect(program_->codes() == std::vector<std::string>{addressText(address_) + ":" +
                                                       std::to_string(WholeProgram::kPort)},
         "the picture of the code could not be read");
  server_ =
      wire::Endpoint::parse(addressText(address_) + ":" + std::to_string(WholeProgram::kPort));
}

void Soak::enterWifi() {
  expect(program_->until([&] { return program_->shows("menuContainer_"); }), "no way to the menu");
  program_->click("menuOnlineButton_");
  everybodyScansAgain();
}

void Soak::restartAudioServer() {
  server_.reset();
  audio_.kill();
  expect(program_->until([&] { return program_->shows("audioGuardView_"); }),
         "the guard did not come up without an audio server");
  expect(startAudio(), "the audio server did not come back");
  enterWifi();
}

void Soak::happen(Happening what) {
  ++happened_[nameOf(what)];
  disturbed_ = Clock::now();
  const auto flood = [&](int perSecond, std::chrono::seconds duration) {
    const auto server = *server_;
    std::atomic<bool> done = false;
    const std::jthread attacker([&] {
      bench::flood(server, perSecond, duration);
      done = true;
    });
    program_->until([&] { return done.load(); }, 60s);
  };
  switch (what) {
    case Happening::kRubbish:
      flood(2'000, 3s);
      break;
    case Happening::kFlood:
      flood(50'000, 3s);
      break;
    case Happening::kAddressChange:
      whole::ip("address flush dev eth0");
      address_ = 2 + (address_ - 1) % 200;
      whole::ip("address add " + addressText(address_) + "/24 dev eth0");
      everybodyScansAgain();
      break;
    case Happening::kNetworkLoss:
      server_.reset();
      whole::ip("address flush dev eth0");
      expect(program_->until([&] { return !program_->shows("onlineQRImageView_"); }, 5s),
             "the code stayed without a network");
      whole::ip("address add " + addressText(address_) + "/24 dev eth0");
      everybodyScansAgain();
      break;
    case Happening::kOtherRightDevice:
      useDevices("quorin2", "quorin");
      program_->runFor(1500ms);
      useDevices("quorin", "quorin");
      expect(program_->shows("onlineContainer_"), "a right device ended the stream");
      break;
    case Happening::kWrongDevice:
      server_.reset();
      useDevices("speaker", "speaker");
      expect(program_->until([&] { return program_->shows("audioGuardView_"); }, 5s),
             "the guard did not come up");
      expect(whole::holdings().udpSockets == 0, "the server outlived its device");
      useDevices("quorin", "quorin");
      enterWifi();
      break;
    case Happening::kAudioServerRestart:
      restartAudioServer();
      break;
    case Happening::kUsbServiceRestart:
      usb_.stop();
      program_->runFor(500ms);
      usb_.start();
      break;
    case Happening::kPhonePlugged:
      usb_.attach(7);
      program_->runFor(500ms);
      usb_.detach(7);
      break;
  }
  disturbed_ = Clock::now();
}

/// What this machine makes of a thread that only sleeps, at the times at which the pacing counts.
void Soak::sleepBeside(const std::stop_token& stop) {
  std::optional<std::chrono::nanoseconds> before;
  bench::runBareLoop(bench::LoopPriority::kRealtime, [&](std::chrono::nanoseconds now) {
    const bool counts = wasCalm_;
    if (counts && before) bareLoop_.add(now - *before - 20ms);
    before = counts ? std::optional(now) : std::nullopt;
    return !stop.stop_requested();
  });
}

void Soak::turn() {
  const auto now = Clock::now();
  wasCalm_ = calm();
  usb_.turn();
  for (auto& client : clients_) client->serve(now, server_, calm());
  if (now >= nextLine_) {
    nextLine_ = now + 1s;
    std::fprintf(
        stderr, "\r%5.1f of %ld min  %llu chunks, %llu missing without a reason, %zu broken ",
        std::chrono::duration<double, std::ratio<60>>(now - begin_).count(),
        static_cast<long>(length_.count()), static_cast<unsigned long long>(experience_.chunks),
        static_cast<unsigned long long>(experience_.missingUnexplained), broken_.size());
  }
}

void Soak::takeSample() {
  const auto held = whole::holdings();
  const auto clientSockets = static_cast<std::size_t>(
      std::ranges::count_if(clients_, [](const auto& client) { return client->holdsSocket(); }));
  if (!player_.isRunning()) player_ = audio_.play({.seconds = 60, .sink = "quorin"});
  const auto usage = bench::usageOf(::getpid());
  samples_.push_back(
      {.hours = std::chrono::duration<double, std::ratio<3600>>(Clock::now() - begin_).count(),
       .proportionalMb = usage ? usage->proportionalMb : 0,
       .anonymousMb = usage ? usage->anonymousMb : 0,
       .descriptors = held.descriptors - clientSockets,
       .threads = held.threads});
  expect(held.udpSockets == 1, "there are " + std::to_string(held.udpSockets) + " server sockets");
}

bool Soak::run() {
  begin_ = disturbed_ = Clock::now();
  usb_.start();
  ::setenv("USBMUXD_SOCKET_ADDRESS", ("UNIX:" + (folder_.path() / "usb").string()).c_str(), 1);
  audio_.useInThisProcess();
  if (!startAudio() || !whole::ip("address add " + addressText(address_) + "/24 dev eth0")) {
    return false;
  }
  program_ = std::make_unique<WholeProgram>(app::StartMode::kWiFi);
  for (unsigned i = 0; i < kClients; ++i) {
    clients_.push_back(std::make_unique<SoakClient>(seed_ * 100 + i, experience_, begin_));
  }
  program_->onTurn = [this] { turn(); };
  everybodyScansAgain();

  const std::jthread bareLoop([this](const std::stop_token& stop) { sleepBeside(stop); });
  const auto end = begin_ + length_;
  while (Clock::now() < end) {
    const auto entry = plan_.next();
    const auto next = std::min(Clock::now() + entry.after, end);
    program_->until(
        [&] {
          const auto now = Clock::now();
          if (now >= nextSample_ && calm()) {
            takeSample();
            nextSample_ = now + kSampleInterval;
          }
          return now >= next;
        },
        10min);
    if (Clock::now() < end) happen(entry.what);
  }
  return true;
}

std::vector<Sample> afterWarmUp(const std::vector<Sample>& samples) {
  std::vector<Sample> rest;
  for (const auto& sample : samples) {
    if (sample.hours * 60 >= std::chrono::duration<double, std::ratio<60>>(kWarmUp).count()) {
      rest.push_back(sample);
    }
  }
  return rest;
}

std::vector<std::string> Soak::violations() const {
  auto found = broken_;
  const auto settled = afterWarmUp(samples_);
  const auto add = [&](bool broken, const std::string& what) {
    if (broken) found.push_back(what);
  };
  if (settled.size() >= 3) {
    const auto [fewest, most] =
        std::ranges::minmax(settled, {}, [](const Sample& sample) { return sample.descriptors; });
    add(settled.back().descriptors > settled.front().descriptors,
        "descriptors grew from " + std::to_string(fewest.descriptors) + " to " +
            std::to_string(most.descriptors));
    add(settled.back().threads > settled.front().threads, "threads grew");
    // A slope over a few minutes is noise. What files back changes with whoever else on the machine
    // maps the same libraries.
    const double growth = growthAnHour(settled, &Sample::anonymousMb);
    add(length_ >= 30min && growth > kMaxGrowthMbAnHour,
        "memory grew by " + std::to_string(growth) + " MB an hour");
  }
  add(experience_.longestUnexplained > 200ms,
      "a client heard nothing for a while, without a reason");
  add(experience_.missingUnexplained * 1000 > experience_.chunks,
      "more than one chunk in a thousand was missing without a reason");
  add(experience_.unansweredUnexplained > 0, "a client was not answered");
  add(experience_.chunks == 0, "nothing was heard at all");
  const double pacing = experience_.pacing.quantileMs(0.99);
  add(pacing > std::max(kEvenPacingMs, kPacingOverBareLoop * bareLoop_.quantileMs(0.99)),
      "the pacing is less even than this machine allows");
  return found;
}

std::string Soak::report() const {
  std::ostringstream text;
  text << std::fixed << std::setprecision(2);
  text << length_.count() << " minutes, seed " << seed_ << ", "
       << std::thread::hardware_concurrency()
       << " processors.\n\n| what happened | times |\n|---|---|\n";
  for (const auto& [name, times] : happened_) text << "| " << name << " | " << times << " |\n";
  const auto settled = afterWarmUp(samples_);
  text << "\n| figure | value |\n|---|---|\n"
       << "| joined / left / fell silent | " << experience_.joined << " / " << experience_.left
       << " / " << experience_.silent << " |\n"
       << "| refused (full) / not answered | " << experience_.refused << " / "
       << experience_.unanswered << " |\n"
       << "| chunks heard | " << experience_.chunks << " |\n"
       << "| 20 ms without a chunk, times with a reason / without | "
       << experience_.missing - experience_.missingUnexplained << " / "
       << experience_.missingUnexplained << " |\n"
       << "| longest silence without a reason | "
       << static_cast<double>(experience_.longestUnexplained.count()) / 1e6 << " ms |\n"
       << "| pacing, deviation from 20 ms: p50 / p99 / max | " << experience_.pacing.quantileMs(0.5)
       << " / " << experience_.pacing.quantileMs(0.99) << " / " << experience_.pacing.maxMs()
       << " ms |\n"
       << "| a thread beside it that only sleeps: p50 / p99 / max | " << bareLoop_.quantileMs(0.5)
       << " / " << bareLoop_.quantileMs(0.99) << " / " << bareLoop_.maxMs() << " ms |\n";
  if (!settled.empty()) {
    const auto memory = [&](const char* name, double Sample::* megabytes) {
      text << "| " << name << ", first / last / growth | " << settled.front().*megabytes << " / "
           << settled.back().*megabytes << " MB / " << growthAnHour(settled, megabytes)
           << " MB an hour |\n";
    };
    memory("memory (PSS)", &Sample::proportionalMb);
    memory("of that, heaps and stacks", &Sample::anonymousMb);
    text << "| descriptors, first / last | " << settled.front().descriptors << " / "
         << settled.back().descriptors << " |\n"
         << "| threads, first / last | " << settled.front().threads << " / "
         << settled.back().threads << " |\n";
  }
  text << "\n";
  const auto found = violations();
  if (found.empty()) text << "Every invariant held.\n";
  for (const auto& violation : found) text << "- BROKEN: " << violation << "\n";
  return text.str();
}

int launch(const QStringList& arguments) {
  QCommandLineParser parser;
  parser.addOptions({{"minutes", "How long.", "N", "5"},
                     {"seed", "Of everything that is random.", "N", "1"},
                     {"report", "Where the report goes.", "FILE", "soak.md"}});
  if (!parser.parse(arguments) || parser.value("minutes").toInt() <= 0) {
    std::fputs("usage: quorin-soak --minutes N [--seed N] [--report FILE]\n", stderr);
    return 2;
  }
  Soak soak(std::chrono::minutes(parser.value("minutes").toInt()), parser.value("seed").toUInt());
  if (!soak.run()) {
    std::fputs("quorin-soak: the audio server or the network could not be set up\n", stderr);
    return 1;
  }
  const auto report = soak.report();
  std::ofstream(parser.value("report").toStdString()) << report;
  std::fprintf(stderr, "\n\n%s", report.c_str());
  return soak.violations().empty() ? 0 : 1;
}

}  // namespace
}  // namespace quorin::soak

int main(int argc, char** argv) {
  quorin::whole::enterNetworkOrSkip();
  const QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  // Qt's painting threads come and go; here they stay, so that one of ours that stays shows.
  QThreadPool::globalInstance()->setExpiryTimeout(-1);
  return quorin::soak::launch(QApplication::arguments());
}
