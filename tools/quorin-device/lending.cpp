#include "quorin-device/lending.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <optional>
#include <ranges>
#include <utility>

namespace quorin::device {

using namespace std::chrono_literals;

namespace {

constexpr auto kReconnectInterval = 250ms;
constexpr auto kRetryInterval = 1s;
/// Programs that follow the default move by themselves; moving them by name would bind them.
constexpr auto kFollowing = 150ms;

/// Commands and the end, from standard input and the signals.
class Input {
 public:
  Input() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&signals, number);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    descriptors_ = {STDIN_FILENO, ::signalfd(-1, &signals, SFD_CLOEXEC)};
  }
  ~Input() { ::close(descriptors_[1]); }
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  const std::array<int, 2>& descriptors() const { return descriptors_; }
  bool hasEnded() const { return ended_; }

  /// The whole lines that have come within `limit`.
  std::vector<std::string> read(std::chrono::milliseconds limit) {
    std::array<pollfd, 2> polled{{{descriptors_[0], POLLIN, 0}, {descriptors_[1], POLLIN, 0}}};
    if (::poll(polled.data(), polled.size(), static_cast<int>(limit.count())) <= 0) return {};
    if (polled[1].revents != 0) ended_ = true;
    if (polled[0].revents != 0) {
      std::array<char, 4096> buffer;
      const auto size = ::read(STDIN_FILENO, buffer.data(), buffer.size());
      if (size <= 0) ended_ = true;
      if (size > 0) text_.append(buffer.data(), static_cast<std::size_t>(size));
    }
    std::vector<std::string> lines;
    for (auto end = text_.find('\n'); end != std::string::npos; end = text_.find('\n')) {
      lines.push_back(text_.substr(0, end));
      text_.erase(0, end + 1);
    }
    return lines;
  }

 private:
  std::array<int, 2> descriptors_{};
  std::string text_;
  bool ended_ = false;
};

bool isAlive(int process) {
  return ::kill(process, 0) == 0 || errno != ESRCH;
}

bool contains(const auto& items, const auto& value, auto projection) {
  return std::ranges::find(items, value, projection) != items.end();
}

const Endpoint* withIndex(const std::vector<Endpoint>& sinks, std::uint32_t index) {
  const auto found = std::ranges::find(sinks, index, &Endpoint::index);
  return found != sinks.end() ? &*found : nullptr;
}

/// One loan to one run of the audio server.
class Loan {
 public:
  /// `former` is what an earlier run had; empty the first time.
  Loan(PulseClient& client, const Places& places, Defaults& former)
      : client_(client), places_(places), former_(former) {}

  std::expected<void, Error> lend() {
    const auto before = client_.look();
    if (!before) return std::unexpected(before.error());
    adoptAbandoned(*before);
    ownsDevice_ = ownsDevice_ || findDevice(*before).sink == nullptr;
    former_ = toRemember(*before, former_);
    auto loaded = createDevice(client_, ::getpid());
    if (!loaded) return std::unexpected(loaded.error());
    modules_.insert(modules_.end(), loaded->begin(), loaded->end());
    // A device that is lent can be taken back by "remove" or by the next loan if this is killed.
    if (ownsDevice_) (void)writeDefaults(places_.formerDefaults, former_);
    if (auto done = makeDefault(client_); !done) return done;
    takePrograms(former_.output);
    return {};
  }

  void giveBack() {
    playHere(false);
    restoreDefaults(client_, former_, [](const std::string&) {});
    returnPrograms();
    for (const std::uint32_t module : modules_ | std::views::reverse) {
      (void)client_.unloadModule(module);
    }
    if (ownsDevice_) forgetDefaults(places_.formerDefaults);
    modules_.clear();
  }

  /// Whether it plays here now.
  bool playHere(bool wanted) {
    if (loopback_) (void)client_.unloadModule(*std::exchange(loopback_, std::nullopt));
    if (!wanted) return false;
    const auto now = client_.look();
    const DevicePair device = now ? findDevice(*now) : DevicePair();
    if (!device.isWhole()) return false;
    const Endpoint* here = find(now->sinks, former_.output);
    if (here == nullptr) {
      const auto other = std::ranges::find_if(
          now->sinks, [&](const Endpoint& sink) { return sink.index != device.sink->index; });
      if (other != now->sinks.end()) here = &*other;
    }
    if (here == nullptr || here->index == device.sink->index) return false;
    const auto module = loopbackModule(device.sink->name + ".monitor", here->name);
    if (const auto index = client_.loadModule(module.name, module.argument)) loopback_ = *index;
    return loopback_.has_value();
  }

  /// After each change: ends a loopback that has lost its loudspeakers, or got into the device.
  /// False when it did.
  bool checkLoopback(const Snapshot& now) {
    if (!loopback_) return true;
    const DevicePair device = findDevice(now);
    const bool loaded = contains(now.modules, *loopback_, &LoadedModule::index);
    const bool feedsBack = std::ranges::any_of(now.playbacks, [&](const Playback& each) {
      return each.isLoopback && device.sink != nullptr && each.sink == device.sink->index;
    });
    if (loaded && !feedsBack) return true;
    playHere(false);
    return false;
  }

  void moveAll() {
    const auto now = client_.look();
    const DevicePair device = now ? findDevice(*now) : DevicePair();
    if (device.sink == nullptr) return;
    if (device.sink->muted) (void)client_.unmute(*device.sink);
    for (const Playback& each : playingElsewhere(*now)) take(*now, each, *device.sink);
  }

 private:
  struct Moved {
    std::uint32_t playback;
    std::string from;
  };

  /// A device whose lender was killed belongs to nobody else.
  void adoptAbandoned(const Snapshot& now) {
    if (ownsDevice_) return;
    ownsDevice_ = std::ranges::any_of(now.modules, [](const LoadedModule& module) {
      return lenderOf(module) != 0 && !isAlive(lenderOf(module));
    });
    if (!ownsDevice_) return;
    for (const LoadedModule& module : now.modules) {
      if (isOurs(module)) modules_.push_back(module.index);
    }
    if (former_ == Defaults()) former_ = readDefaults(places_.formerDefaults);
  }

  void take(const Snapshot& now, const Playback& playback, const Endpoint& device) {
    const Endpoint* const from = withIndex(now.sinks, playback.sink);
    if (!client_.move(playback.index, device.index) || from == nullptr) return;
    if (!contains(moved_, playback.index, &Moved::playback)) {
      moved_.push_back({playback.index, from->name});
    }
  }

  /// What plays on the former default output and has not followed.
  void takePrograms(const std::string& output) {
    const auto left = [&](const Snapshot& now) {
      const Endpoint* const from = find(now.sinks, output);
      auto playbacks = playingElsewhere(now);
      std::erase_if(playbacks, [&](const Playback& each) {
        return from == nullptr || each.sink != from->index;
      });
      return playbacks;
    };
    client_.waitUntil([&](const Snapshot& now) { return left(now).empty(); }, kFollowing);
    const auto now = client_.look();
    const DevicePair device = now ? findDevice(*now) : DevicePair();
    if (device.sink == nullptr) return;
    for (const Playback& each : left(*now)) take(*now, each, *device.sink);
  }

  /// Those that were moved go to where they were; where the device goes, all others too.
  void returnPrograms() {
    const auto onDevice = [&](const Snapshot& now) {
      const DevicePair device = findDevice(now);
      std::vector<Playback> playbacks;
      for (const Playback& each : now.playbacks) {
        const bool wasMoved = contains(moved_, each.index, &Moved::playback);
        if (device.sink != nullptr && each.sink == device.sink->index &&
            (ownsDevice_ || wasMoved)) {
          playbacks.push_back(each);
        }
      }
      return playbacks;
    };
    client_.waitUntil([&](const Snapshot& now) { return onDevice(now).empty(); }, kFollowing);
    const auto now = client_.look();
    if (!now) return;
    const DevicePair device = findDevice(*now);
    for (const Playback& each : onDevice(*now)) {
      const auto moved = std::ranges::find(moved_, each.index, &Moved::playback);
      const Endpoint* to = moved != moved_.end() ? find(now->sinks, moved->from) : nullptr;
      if (to == nullptr) to = find(now->sinks, now->defaultSink);
      if (to != nullptr && to->index != device.sink->index) {
        (void)client_.move(each.index, to->index);
      }
    }
    moved_.clear();
  }

  PulseClient& client_;
  const Places& places_;
  Defaults& former_;
  bool ownsDevice_ = false;             ///< it goes with the loan; else it was there before
  std::vector<std::uint32_t> modules_;  ///< what goes with the loan, sink first
  std::vector<Moved> moved_;
  std::optional<std::uint32_t> loopback_;
};

std::string failureLine(const Error& error) {
  const char* const cause = error.cause == Error::Cause::kNoServer  ? "server"
                            : error.cause == Error::Cause::kRefused ? "refused"
                                                                    : "other";
  return std::string("failed\t") + cause + '\t' + error.text;
}

/// What one run of the server is served with.
class Service {
 public:
  Service(PulseClient& client, Duty duty, const Places& places, Defaults& former, const Say& say)
      : client_(client), duty_(duty), loan_(client, places, former), say_(say) {}

  bool lend() {
    if (duty_ != Duty::kLend) return true;
    const auto lent = loan_.lend();
    say_(lent ? "ready" : failureLine(lent.error()));
    return isLent_ = lent.has_value();
  }
  bool isLent() const { return isLent_; }

  void playHere(bool wanted) {
    if (duty_ == Duty::kLend) say_(loan_.playHere(wanted) ? "playing-here on" : "playing-here off");
  }

  void obey(const std::string& command, bool& playsHere) {
    if (command == "lend" && lend() && playsHere) playHere(true);
    if (command == "move") loan_.moveAll();
    if (command == "play-here on" || command == "play-here off") {
      playHere(playsHere = command.ends_with("on"));
    }
  }

  void reportSound(bool& playsHere) {
    const auto now = client_.look();
    if (!now) return;
    if (!loan_.checkLoopback(*now)) {
      playsHere = false;
      say_("playing-here off");
    }
    if (auto line = soundLine(*now); line != said_) say_(said_ = std::move(line));
  }

  void end() {
    if (duty_ == Duty::kLend) loan_.giveBack();
  }

 private:
  PulseClient& client_;
  const Duty duty_;
  Loan loan_;
  const Say& say_;
  bool isLent_ = true;
  std::string said_ = "clear";
};

}  // namespace

bool serve(Duty duty, const Places& places, const Say& say) {
  Input input;
  Defaults former;
  bool playsHere = false;
  for (bool first = true;; first = false) {
    auto client = PulseClient::connect();
    if (!client && first) say(failureLine(client.error()));
    if (!client && first) return false;
    if (!client) {
      input.read(kReconnectInterval);
      if (input.hasEnded()) return true;
      continue;
    }
    (void)client->subscribe();
    Service service(*client, duty, places, former, say);
    if (!service.lend() && first) {
      service.end();  // what was created before it failed
      return false;
    }
    if (playsHere) service.playHere(true);
    do {
      // A server that has just started may need some attempts.
      for (const auto& command : input.read(service.isLent() ? 0ms : kRetryInterval)) {
        service.obey(command, playsHere);
      }
      if (!service.isLent()) service.lend();
      if (!input.hasEnded()) service.reportSound(playsHere);
    } while (!input.hasEnded() &&
             (!service.isLent() || client->waitForChange(input.descriptors())));
    if (!input.hasEnded()) continue;
    service.end();
    return true;
  }
}

}  // namespace quorin::device
