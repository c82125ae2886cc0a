// quorin-soak --minutes N [--seed N]: lets the whole program run while its clients, its network,
// its audio devices and their servers come, go and misbehave, and watches that nothing breaks,
// leaks or is lost without a reason. Exit status 0 when nothing did.
#include "bench/bare_loop.h"
#include "bench/flood.h"
#include "bench/process_usage.h"
#include "quorin-listen/udp_source.h"
#include "support/fake_usbmuxd.h"
#include "support/private_audio.h"
#include "support/temporary_directory.h"
#include "whole/whole_program.h"

#include <unistd.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QThreadPool>
#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <random>
#include <thread>

namespace quorin::soak {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using std::chrono::nanoseconds;
using whole::WholeProgram;

constexpr int kClients = 10;
constexpr nanoseconds kChunk = 20ms;
/// After an event, losses have a reason for this long: a client notices after 3 s that nothing
/// comes, and a flood holds its places for up to 10 s.
constexpr auto kExplainedFor = 15s;
constexpr auto kSampleInterval = 10s;
constexpr double kWarmUpHours = 2.0 / 60;
constexpr double kMaxGrowthMbAnHour = 1;
/// Of the deviation from 20 ms, p99: good enough on any machine, or near to what this one can do.
constexpr double kEvenPacingMs = 0.5;
constexpr double kPacingOverBareLoop = 1.5;

double hours(Clock::duration duration) {
  return std::chrono::duration<double, std::ratio<3600>>(duration).count();
}

/// Deviations from 20 ms, counted in steps of 10 microseconds; of constant size.
class Histogram {
 public:
  void add(nanoseconds deviation) {
    const auto step = static_cast<std::size_t>(std::chrono::abs(deviation) / 10us);
    ++steps_[std::min(step, steps_.size() - 1)];
    ++count_;
  }
  double quantileMs(double fraction) const {
    auto left = static_cast<std::uint64_t>(fraction * static_cast<double>(count_));
    std::size_t step = 0;
    while (step + 1 < steps_.size() && steps_[step] <= left) left -= steps_[step++];
    return static_cast<double>(step) / 100;
  }

 private:
  std::array<std::uint64_t, 10'000> steps_{};  ///< up to 100 ms
  std::uint64_t count_ = 0;
};

/// What all clients together have seen.
struct Experience {
  std::size_t chunks = 0;
  std::size_t missingUnexplained = 0;  ///< chunks, while nothing had happened for a while
  std::size_t unansweredUnexplained = 0;
  nanoseconds longestUnexplained{0};
  Histogram pacing;  ///< of all, while nothing had happened for a while
};

/// One phone that joins, listens, and goes, in this process.
class Client {
 public:
  Client(unsigned seed, Experience& experience) : random_(seed), experience_(experience) {}

  /// `server`: where the code on the page leads, none while there is none. `calm`: nothing has
  /// happened for so long that every loss is the program's.
  void serve(Clock::time_point now, const std::optional<wire::Endpoint>& server, bool calm) {
    if (!source_ && (!server || now < next_)) return;
    if (!source_) {
      auto source = listen::UdpSource::open(*server, now);
      if (!source) return goAway(now);
      source_ = std::move(*source);
      next_ = now + between(5'000, 120'000);
    }
    calm_ = calm_ && calm;
    source_->serve(now, [&](const listen::Sound& sound) { receive(sound.arrived, calm); });
    if (const auto ending = source_->ending()) {
      if (ending->code != listen::kServerFull && calm) ++experience_.unansweredUnexplained;
      return goAway(now);
    }
    if (now < next_) return;
    if (between(0, 2) == 0ms) {
      dead_ = std::move(source_);  // takes what comes, and reads nothing
    } else {
      source_->leave(now);
    }
    goAway(now);
  }

  /// Comes again later.
  void goAway(Clock::time_point now) {
    source_.reset();
    arrived_.reset();
    next_ = now + between(500, 8'000);
  }

  std::size_t sockets() const { return (source_ ? 1U : 0U) + (dead_ ? 1U : 0U); }

 private:
  std::chrono::milliseconds between(int lowest, int highest) {
    return std::chrono::milliseconds(std::uniform_int_distribution(lowest, highest)(random_));
  }

  void receive(nanoseconds arrived, bool calm) {
    ++experience_.chunks;
    if (arrived_) {
      const auto interval = arrived - *arrived_;
      const auto missing = static_cast<std::size_t>(
          std::max<nanoseconds::rep>(0, (interval + kChunk / 2) / kChunk - 1));
      if (calm_) experience_.pacing.add(interval - kChunk);
      if (calm_ && missing > 0) {
        experience_.missingUnexplained += missing;
        experience_.longestUnexplained = std::max(experience_.longestUnexplained, interval);
      }
    }
    arrived_ = arrived;
    calm_ = calm;
  }

  std::mt19937 random_;
  Experience& experience_;
  Clock::time_point next_{};  ///< it comes, or goes
  std::unique_ptr<listen::UdpSource> source_, dead_;
  std::optional<nanoseconds> arrived_;  ///< the latest chunk
  bool calm_ = false;                   ///< since then
};

struct Sample {
  double hours = 0;
  double megabytes = 0;         ///< what no file backs: heaps and stacks
  std::size_t descriptors = 0;  ///< without those of single phones, on either side
  std::size_t threads = 0;
};

class Soak {
 public:
  Soak(std::chrono::minutes length, unsigned seed) : length_(length), seed_(seed), random_(seed) {}

  /// False when the world could not be set up.
  bool run();
  void printReport(const std::vector<std::string>& violations) const;
  std::vector<std::string> violations() const;

 private:
  /// One thing that happens to the program's world.
  struct Event {
    const char* name;
    std::size_t weight;  ///< the gentle ones more often: what is rough ends every stream
    void (*happens)(Soak&);
  };
  static const Event kEvents[];

  bool startAudio();
  void useDevice(const std::string& name) { audio_->useDevices(name, name + ".monitor"); }
  void expect(bool held, const std::string& what);
  bool becomes(const char* view) { return program_->becomes(view); }
  void enterWifi();
  void lendDevice();
  void everybodyScansAgain();
  void turn();
  void takeSample();
  void sleepBeside(const std::stop_token& stop);
  double growthAnHour() const {
    return (last_->megabytes - first_->megabytes) / std::max(0.1, last_->hours - first_->hours);
  }
  bool calm() const { return Clock::now() - disturbed_ > kExplainedFor; }
  std::string address() const { return "10.11.0." + std::to_string(host_); }

  const std::chrono::minutes length_;
  const unsigned seed_;
  std::mt19937 random_;
  Clock::time_point begin_, disturbed_, nextSample_;

  test::TemporaryDirectory folder_;
  test::FakeUsbmuxd usb_{folder_.path() / "usb"};
  std::unique_ptr<test::PrivateAudioServer> audio_ = test::makePrivateServer("PulseAudio");
  test::ChildProcess player_;
  std::unique_ptr<WholeProgram> program_;

  int host_ = 2;
  std::optional<wire::Endpoint> server_;
  Experience experience_;
  std::atomic<bool> wasCalm_ = false;
  Histogram bareLoop_;  ///< the loop's, until it has ended
  std::vector<std::unique_ptr<Client>> clients_;
  std::optional<Sample> first_, last_;  ///< after the warm-up
  std::vector<std::string> broken_;
};

const Soak::Event Soak::kEvents[] = {
    {"flood", 3,
     [](Soak& soak) {
       std::atomic<bool> done = false;
       const std::jthread attacker([&, server = *soak.server_] {
         bench::flood(server, 50'000, 3s);
         done = true;
       });
       soak.program_->until([&] { return done.load(); }, 60s);
     }},
    {"address changed", 1,
     [](Soak& soak) {
       whole::ip("address flush dev eth0");
       soak.host_ = 2 + (soak.host_ - 1) % 200;
       whole::ip("address add " + soak.address() + "/24 dev eth0");
       soak.everybodyScansAgain();
     }},
    {"network lost and back", 1,
     [](Soak& soak) {
       soak.server_.reset();
       whole::ip("address flush dev eth0");
       soak.expect(
           soak.program_->until([&] { return !soak.program_->shows("onlineQRImageView_"); }, 5s),
           "the code stayed without a network");
       whole::ip("address add " + soak.address() + "/24 dev eth0");
       soak.everybodyScansAgain();
     }},
    {"another right device", 2,
     [](Soak& soak) {
       soak.audio_->useDevices("quorin2", "quorin.monitor");
       soak.program_->runFor(1500ms);
       soak.useDevice("quorin");
       soak.expect(soak.program_->shows("onlineContainer_"), "a right device ended the stream");
     }},
    {"a mixer moves the recording", 2,
     [](Soak& soak) { soak.audio_->moveRecordings("speaker.monitor"); }},
    {"wrong device, then one that is lent", 2, [](Soak& soak) { soak.lendDevice(); }},
    {"audio server restarted", 1,
     [](Soak& soak) {
       soak.server_.reset();
       soak.audio_->kill();
       soak.expect(soak.becomes("audioGuardView_"),
                   "the guard did not come up without an audio server");
       soak.expect(soak.startAudio(), "the audio server did not come back");
       soak.enterWifi();
     }},
    {"USB service restarted", 1,
     [](Soak& soak) {
       soak.usb_.stop();
       soak.program_->runFor(500ms);
       soak.usb_.start();
     }},
    {"phones plugged in and out 500 times", 2,
     [](Soak& soak) {
       for (unsigned device = 10; device < 510; ++device) {
         soak.usb_.attach(device);
         soak.usb_.detach(device);
         // It shares our thread: the socket must not fill.
         if (device % 10 == 0) soak.program_->runFor(100ms);
       }
     }},
};

void Soak::lendDevice() {
  server_.reset();
  useDevice("speaker");
  expect(becomes("audioGuardView_"), "the guard did not come up");
  expect(whole::holdings().udpSockets == 0, "the server outlived its device");
  program_->click("audioGuardSetUpButton_");
  enterWifi();
}

// ---- The world

void Soak::expect(bool held, const std::string& what) {
  if (held) return;
  broken_.push_back(what);
  std::fprintf(stderr, "BROKEN: %s\n", what.c_str());
}

bool Soak::startAudio() {
  const bool up = audio_->start() &&
                  audio_->addNullSink("quorin", "Quorin Audio 1", "norewinds=1") &&
                  audio_->addNullSink("quorin2", "Quorin Audio 2", "norewinds=1") &&
                  audio_->addNullSink("speaker", "Speaker");
  useDevice("quorin");
  return up;
}

void Soak::enterWifi() {
  expect(becomes("menuContainer_"), "no way to the menu");
  program_->click("menuOnlineButton_");
  everybodyScansAgain();
}

void Soak::everybodyScansAgain() {
  server_.reset();
  for (auto& client : clients_) client->goAway(Clock::now());
  const auto text = address() + ":" + std::to_string(whole::Phone::kServerPort);
  expect(program_->until([&] {
    return program_->shows("onlineQRImageView_") &&
           program_->accessibleName("onlineQRImageView_").contains(text);
  }),
         "the code of " + text + " did not come up");
  expect(program_->codes() == std::vector{text}, "the picture of the code could not be read");
  server_ = wire::Endpoint::parse(text);
}

/// What this machine makes of a thread that only sleeps, at the times at which the pacing counts.
void Soak::sleepBeside(const std::stop_token& stop) {
  std::optional<nanoseconds> before;
  bench::runBareLoop(bench::LoopPriority::kRealtime, [&](nanoseconds now) {
    const bool counts = wasCalm_;
    if (counts && before) bareLoop_.add(now - *before - kChunk);
    before = counts ? std::optional(now) : std::nullopt;
    return !stop.stop_requested();
  });
}

void Soak::turn() {
  const auto now = Clock::now();
  wasCalm_ = calm();
  usb_.turn();
  for (auto& client : clients_) client->serve(now, server_, wasCalm_);
}

void Soak::takeSample() {
  if (!player_.isRunning()) player_ = audio_->play({.seconds = 60, .sink = "quorin"});
  const auto held = whole::holdings();
  std::size_t phoneSockets = 0;
  for (const auto& client : clients_) phoneSockets += client->sockets();
  const auto usage = bench::usageOf(::getpid());
  const auto since = hours(Clock::now() - begin_);
  if (usage && since > kWarmUpHours) {
    last_ = {.hours = since,
             .megabytes = usage->anonymousMb,
             .descriptors = held.descriptors - held.clientSockets - phoneSockets,
             .threads = held.threads};
    if (!first_) first_ = last_;
  }
  expect(held.udpSockets == 1, "there are " + std::to_string(held.udpSockets) + " server sockets");
}

bool Soak::run() {
  begin_ = disturbed_ = Clock::now();
  usb_.start();
  ::setenv("USBMUXD_SOCKET_ADDRESS", ("UNIX:" + (folder_.path() / "usb").string()).c_str(), 1);
  audio_->useInThisProcess();
  if (!startAudio()) return false;
  whole::ip("address add " + address() + "/24 dev eth0");
  program_ = std::make_unique<WholeProgram>(app::StartMode::kWiFi);
  for (unsigned i = 0; i < kClients; ++i) {
    clients_.push_back(std::make_unique<Client>(seed_ * 100 + i, experience_));
  }
  program_->onTurn = [this] { turn(); };
  everybodyScansAgain();
  lendDevice();  // from now on the helper's descriptors are there

  const std::jthread bareLoop([this](const std::stop_token& stop) { sleepBeside(stop); });
  std::vector<const Event*> deck;
  for (const auto& event : kEvents) deck.insert(deck.end(), event.weight, &event);
  const auto end = begin_ + length_;
  while (Clock::now() < end) {
    const auto pause = std::uniform_int_distribution(12'000, 40'000)(random_);
    const auto next = std::min(Clock::now() + std::chrono::milliseconds(pause), end);
    program_->until(
        [&] {
          if (Clock::now() >= nextSample_ && calm()) {
            takeSample();
            nextSample_ = Clock::now() + kSampleInterval;
          }
          return Clock::now() >= next;
        },
        10min);
    if (next == end) break;
    const auto* event =
        deck[std::uniform_int_distribution<std::size_t>(0, deck.size() - 1)(random_)];
    std::fprintf(stderr, "minute %.1f: %s\n", 60 * hours(Clock::now() - begin_), event->name);
    disturbed_ = Clock::now();
    event->happens(*this);
    disturbed_ = Clock::now();
  }
  return true;
}

std::vector<std::string> Soak::violations() const {
  auto found = broken_;
  const auto add = [&](bool broken, const std::string& what) {
    if (broken) found.push_back(what);
  };
  if (first_) {
    add(last_->descriptors > first_->descriptors, "descriptors grew");
    add(last_->threads > first_->threads, "threads grew");
    // Over a few minutes it is noise. What files back changes with whoever else on the machine maps
    // the same libraries.
    add(length_ >= 30min && growthAnHour() > kMaxGrowthMbAnHour, "memory grew");
  }
  add(experience_.longestUnexplained > 200ms, "a client heard nothing for a while");
  add(experience_.missingUnexplained * 1000 > experience_.chunks,
      "more than one chunk in a thousand was missing without a reason");
  add(experience_.unansweredUnexplained > 0, "a client was not answered");
  add(experience_.chunks == 0, "nothing was heard at all");
  const double machine = kPacingOverBareLoop * bareLoop_.quantileMs(0.99);
  add(experience_.pacing.quantileMs(0.99) > std::max(kEvenPacingMs, machine),
      "the pacing is less even than this machine allows");
  return found;
}

void Soak::printReport(const std::vector<std::string>& violations) const {
  const auto& all = experience_;
  std::fprintf(stderr,
               "%ld minutes, seed %u: %zu chunks, %zu missing without a reason, the longest for "
               "%.1f ms\n",
               static_cast<long>(length_.count()), seed_, all.chunks, all.missingUnexplained,
               static_cast<double>(all.longestUnexplained.count()) / 1e6);
  for (const auto& [name, histogram] :
       {std::pair("pacing", &all.pacing), {"a thread beside it that only sleeps", &bareLoop_}}) {
    std::fprintf(stderr, "%s: p50 %.2f, p99 %.2f ms away from 20 ms\n", name,
                 histogram->quantileMs(0.5), histogram->quantileMs(0.99));
  }
  if (first_) {
    std::fprintf(
        stderr,
        "heaps and stacks %.1f, then %.1f MB; descriptors %zu, then %zu; threads %zu, then "
        "%zu\n",
        first_->megabytes, last_->megabytes, first_->descriptors, last_->descriptors,
        first_->threads, last_->threads);
  }
  for (const auto& violation : violations) std::fprintf(stderr, "BROKEN: %s\n", violation.c_str());
  if (violations.empty()) std::fputs("Every invariant held.\n", stderr);
}

int launch(const QStringList& arguments) {
  QCommandLineParser parser;
  parser.addOptions(
      {{"minutes", "How long.", "N", "5"}, {"seed", "Of all that is random.", "N", "1"}});
  if (!parser.parse(arguments) || parser.value("minutes").toInt() <= 0) {
    std::fputs("usage: quorin-soak [--minutes N] [--seed N]\n", stderr);
    return 2;
  }
  Soak soak(std::chrono::minutes(parser.value("minutes").toInt()), parser.value("seed").toUInt());
  if (!soak.run()) {
    std::fputs("quorin-soak: the audio server or the network could not be set up\n", stderr);
    return 1;
  }
  const auto violations = soak.violations();
  std::fputs("\n\n", stderr);
  soak.printReport(violations);
  return violations.empty() ? 0 : 1;
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
