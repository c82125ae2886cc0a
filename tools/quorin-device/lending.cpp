#include "quorin-device/lending.h"

#include "platform/posix/file_descriptor.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <map>
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
    signals_ = posix::FileDescriptor(::signalfd(-1, &signals, SFD_CLOEXEC));
  }

  std::array<int, 2> descriptors() const { return {STDIN_FILENO, signals_.get()}; }
  bool hasEnded() const { return ended_; }

  /// The whole lines that have come within `limit`.
  std::vector<std::string> read(std::chrono::milliseconds limit) {
    std::array<pollfd, 2> polled{{{STDIN_FILENO, POLLIN, 0}, {signals_.get(), POLLIN, 0}}};
    if (::poll(polled.data(), polled.size(), static_cast<int>(limit.count())) <= 0) return {};
    ended_ |= polled[1].revents != 0;
    if (polled[0].revents != 0) {
      std::array<char, 4096> buffer;
      const auto size = ::read(STDIN_FILENO, buffer.data(), buffer.size());
      ended_ |= size <= 0;
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
  posix::FileDescriptor signals_;
  std::string text_;
  bool ended_ = false;
};

bool isAlive(int process) {
  return ::kill(process, 0) == 0 || errno != ESRCH;
}

std::string failureLine(const Error& error) {
  const char* const cause = error.cause == Error::Cause::kNoServer  ? "server"
                            : error.cause == Error::Cause::kRefused ? "refused"
                                                                    : "other";
  return std::string("failed\t") + cause + '\t' + error.text;
}

/// What outlives a run of the audio server.
struct Memory {
  Defaults former;         ///< what was default before the first loan
  bool playsHere = false;  ///< wanted
};

/// What one run of the audio server is served with.
class Service {
 public:
  Service(PulseClient& client, Duty duty, const Places& places, Memory& memory, const Say& say)
      : client_(client), duty_(duty), places_(places), memory_(memory), say_(say) {}

  bool lend() {
    if (duty_ != Duty::kLend) return true;
    const auto lent = tryToLend();
    say_(lent ? "ready" : failureLine(lent.error()));
    isLent_ = lent.has_value();
    if (isLent_ && memory_.playsHere) playHere();
    return isLent_;
  }
  bool isLent() const { return isLent_; }

  void obey(const std::string& command) {
    if (command == "lend") lend();
    if (command == "move") moveAll();
    if (command == "play-here on" || command == "play-here off") {
      memory_.playsHere = command.ends_with("on");
      playHere();
    }
  }

  void reportSound() {
    const auto now = client_.look();
    if (!now) return;
    checkLoopback(*now);
    if (auto line = soundLine(*now); line != said_) say_(said_ = std::move(line));
  }

  void giveBack() {
    if (duty_ != Duty::kLend) return;
    endLoopback();
    restoreDefaults(client_, memory_.former, [](const std::string&) {});
    returnPrograms();
    for (const std::uint32_t module : modules_ | std::views::reverse) {
      (void)client_.unloadModule(module);
    }
    if (ownsDevice_) forgetDefaults(places_.formerDefaults);
  }

 private:
  Done tryToLend() {
    const auto before = client_.look();
    if (!before) return std::unexpected(before.error());
    adoptAbandoned(*before);
    ownsDevice_ = ownsDevice_ || findDevice(*before).sink == nullptr;
    memory_.former = toRemember(*before, memory_.former);
    const auto loaded = createDevice(client_, ::getpid());
    if (!loaded) return std::unexpected(loaded.error());
    modules_.insert(modules_.end(), loaded->begin(), loaded->end());
    // If this program is killed, "remove" or the next loan gives the device back.
    if (ownsDevice_) (void)writeDefaults(places_.formerDefaults, memory_.former);
    if (auto done = makeDefault(client_); !done) return done;
    takePrograms();
    return {};
  }

  /// Takes over a device whose lender was killed.
  void adoptAbandoned(const Snapshot& now) {
    if (ownsDevice_) return;
    ownsDevice_ = std::ranges::any_of(now.modules, [](const LoadedModule& module) {
      return lenderOf(module) != 0 && !isAlive(lenderOf(module));
    });
    if (!ownsDevice_) return;
    for (const LoadedModule& module : now.modules) {
      if (isOurs(module)) modules_.push_back(module.index);
    }
    if (memory_.former == Defaults()) memory_.former = readDefaults(places_.formerDefaults);
  }

  // ---- The programs that play

  void take(const Snapshot& now, const Playback& playback, const Endpoint& device) {
    const Endpoint* const from = find(now.sinks, playback.sink);
    if (client_.move(playback.index, device.index) && from != nullptr) {
      moved_.emplace(playback.index, from->name);
    }
  }

  /// What plays on the former default output and has not followed.
  void takePrograms() {
    const auto left = [&](const Snapshot& now) {
      const Endpoint* const from = find(now.sinks, memory_.former.output);
      auto playbacks = playingElsewhere(now);
      std::erase_if(playbacks, [&](const Playback& each) {
        return from == nullptr || each.sink != from->index;
      });
      return playbacks;
    };
    client_.waitUntil([&](const Snapshot& now) { return left(now).empty(); }, kFollowing);
    const auto now = client_.look();
    const auto* const device = now ? findDevice(*now).sink : nullptr;
    if (device == nullptr) return;
    for (const Playback& each : left(*now)) take(*now, each, *device);
  }

  void moveAll() {
    const auto now = client_.look();
    const auto device = now ? findDevice(*now) : DevicePair();
    if (device.sink == nullptr) return;
    if (device.sink->isSilenced()) (void)client_.unmuteSink(*device.sink);
    if (device.source != nullptr && device.source->isSilenced()) {
      (void)client_.unmuteSource(*device.source);
    }
    for (const Playback& each : playingElsewhere(*now)) take(*now, each, *device.sink);
  }

  /// Those that were moved go to where they were; where the device goes, all others too.
  void returnPrograms() {
    const auto onDevice = [&](const Snapshot& now) {
      const auto* const device = findDevice(now).sink;
      auto playbacks = now.playbacks;
      std::erase_if(playbacks, [&](const Playback& each) {
        return device == nullptr || each.sink != device->index ||
               !(ownsDevice_ || moved_.contains(each.index));
      });
      return playbacks;
    };
    client_.waitUntil([&](const Snapshot& now) { return onDevice(now).empty(); }, kFollowing);
    const auto now = client_.look();
    if (!now) return;
    for (const Playback& each : onDevice(*now)) {
      const Endpoint* to = find(now->sinks, moved_[each.index]);
      if (to == nullptr) to = find(now->sinks, now->defaultSink);
      if (to != nullptr && to->index != each.sink) (void)client_.move(each.index, to->index);
    }
  }

  // ---- The loopback

  void playHere() {
    endLoopback();
    if (memory_.playsHere) beginLoopback();
    memory_.playsHere = loopback_.has_value();
    say_(loopback_ ? "playing-here on" : "playing-here off");
  }

  /// To the former default output, else to any that is not the device.
  void beginLoopback() {
    const auto now = client_.look();
    const DevicePair device = now ? findDevice(*now) : DevicePair();
    if (!device.isWhole()) return;
    const auto mayPlay = [&](const Endpoint& sink) { return sink.index != device.sink->index; };
    const Endpoint* here = find(now->sinks, memory_.former.output);
    if (here == nullptr || !mayPlay(*here)) {
      const auto other = std::ranges::find_if(now->sinks, mayPlay);
      if (other == now->sinks.end()) return;
      here = &*other;
    }
    const auto module = loopbackModule(device.sink->name + ".monitor", here->name);
    if (const auto index = client_.loadModule(module.name, module.argument)) loopback_ = *index;
  }

  void endLoopback() {
    if (loopback_) (void)client_.unloadModule(*std::exchange(loopback_, std::nullopt));
  }

  /// Ends a loopback that has lost its loudspeakers, or got into the device.
  void checkLoopback(const Snapshot& now) {
    if (!loopback_) return;
    const auto* const device = findDevice(now).sink;
    const bool feedsBack = std::ranges::any_of(now.playbacks, [&](const Playback& each) {
      return each.isLoopback && device != nullptr && each.sink == device->index;
    });
    const bool loaded = std::ranges::any_of(
        now.modules, [&](const LoadedModule& module) { return module.index == *loopback_; });
    if (loaded && !feedsBack) return;
    memory_.playsHere = false;
    playHere();
  }

  PulseClient& client_;
  const Duty duty_;
  const Places& places_;
  Memory& memory_;
  const Say& say_;
  bool isLent_ = true;
  bool ownsDevice_ = false;                     ///< it goes with the loan; else it was there before
  std::vector<std::uint32_t> modules_;          ///< what goes with the loan, sink first
  std::map<std::uint32_t, std::string> moved_;  ///< playbacks, and the sinks they were on
  std::optional<std::uint32_t> loopback_;
  std::string said_ = "clear";
};

}  // namespace

bool serve(Duty duty, const Places& places, const Say& say) {
  Input input;
  Memory memory;
  for (bool first = true;; first = false) {
    const auto client = PulseClient::connect();
    if (!client) {
      if (first) say(failureLine(client.error()));
      if (first) return false;
      for (const auto& command : input.read(kReconnectInterval)) {
        if (command == "lend") say(failureLine(client.error()));
        if (command.starts_with("play-here")) memory.playsHere = command.ends_with("on");
      }
      if (input.hasEnded()) return true;
      continue;
    }
    (void)(*client)->subscribe();
    Service service(**client, duty, places, memory, say);
    if (!service.lend() && first) {
      service.giveBack();  // what was created before it failed
      return false;
    }
    do {
      // A server that has just started may need some attempts.
      for (const auto& command : input.read(service.isLent() ? 0ms : kRetryInterval)) {
        service.obey(command);
      }
      if (!service.isLent()) service.lend();
      if (!input.hasEnded()) service.reportSound();
    } while (!input.hasEnded() &&
             (!service.isLent() || (*client)->waitForChange(input.descriptors())));
    if (!input.hasEnded()) continue;
    service.giveBack();
    return true;
  }
}

}  // namespace quorin::device
