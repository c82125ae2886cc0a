#include "quorin-device/lending.h"

#include "platform/posix/file_descriptor.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <iostream>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quorin::device {

using namespace std::chrono_literals;

namespace {

constexpr auto kReconnectInterval = 250ms;
constexpr auto kRetryInterval = 1s;
/// How long giving back is tried, from its first failure.
constexpr auto kGiveBackLimit = 30s;
constexpr std::chrono::milliseconds kForever{-1};
/// Programs that follow the default move by themselves; moving them by name would bind them.
constexpr auto kFollowing = 150ms;

void say(const std::string& line) {
  std::cout << line << '\n' << std::flush;
}

void sayFailed(const Error& error) {
  const char* const cause = error.cause == Error::Cause::kNoServer  ? "server"
                            : error.cause == Error::Cause::kRefused ? "refused"
                                                                    : "other";
  say(std::string("failed\t") + cause + '\t' + error.what());
}

/// Commands and the end, from standard input and the signals.
class Input {
 public:
  Input() {
    // Out of the terminal's reach, if the program that started this is not: its pipe ends it.
    ::setsid();
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGQUIT}) sigaddset(&signals, number);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    signals_ = posix::FileDescriptor(::signalfd(-1, &signals, SFD_CLOEXEC));
  }

  bool hasEnded() const { return ended_; }
  void end() { ended_ = true; }
  /// A signal has come after the end.
  bool isHurried() const { return hurried_; }

  /// The whole lines that have come once `other` is readable, or `limit` has passed, or earlier.
  std::vector<std::string> read(std::chrono::milliseconds limit, int other = -1) {
    const int input = ended_ ? -1 : STDIN_FILENO;  // at its end it is always readable
    std::array<pollfd, 3> polled{
        {{input, POLLIN, 0}, {signals_.get(), POLLIN, 0}, {other, POLLIN, 0}}};
    ::poll(polled.data(), polled.size(), static_cast<int>(limit.count()));
    if (signalfd_siginfo signal;
        polled[1].revents != 0 && ::read(signals_.get(), &signal, sizeof signal) > 0) {
      hurried_ = std::exchange(ended_, true);
    }
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
  bool hurried_ = false;
};

/// What outlives a run of the audio server.
struct Memory {
  std::filesystem::path file;  ///< of `former`, should this program be killed
  Defaults former{};           ///< what was default before the first loan
  Holds held = kBoth;          ///< defaults that the user has not taken back
  bool playsHere = false;      ///< wanted
  bool isAsked = false;        ///< for the device, by a command that has no answer yet
  bool hasLent = false;        ///< something is to be given back
  bool ownsDevice = false;     ///< it goes with the loan; else it was there before
};

/// What one run of the audio server is served with. Throws the `Error` of one that is gone.
class Service {
 public:
  Service(PulseClient& client, Duty duty, Memory& memory)
      : client_(client), duty_(duty), memory_(memory) {}

  /// Whether there is nothing more to do for that.
  bool lend() {
    if (duty_ == Duty::kWatch) return true;
    try {
      tryToLend();
      isLent_ = true;
      say("ready");
    } catch (const Error& error) {
      if (error.cause == Error::Cause::kNoServer) throw;
      // One answer is enough for all the attempts until the next command.
      if (isLent_ || memory_.isAsked) sayFailed(error);
      isLent_ = false;
    }
    memory_.isAsked = false;
    if (isLent_ && memory_.playsHere) playHere();
    return isLent_;
  }

  /// Until the input ends.
  void run(Input& input) {
    while (!input.hasEnded()) {
      reportSound();
      // A server that has just started may need some attempts.
      const auto commands =
          isLent_ ? input.read(kForever, client_.changes()) : input.read(kRetryInterval);
      memory_.isAsked = std::ranges::count(commands, "lend") > 0;
      for (const auto& command : commands) obey(command);
      if (!isLent_) lend();
    }
  }

  void giveBack() {
    if (!memory_.hasLent) return;
    endLoopback();
    restoreDefaults(client_, memory_.former);
    returnPrograms();
    if (memory_.ownsDevice) removeDevice(client_);
    forgetDefaults(memory_.file);
  }

 private:
  void tryToLend() {
    const Snapshot before = client_.look();
    const int lender = lenderOf(before);
    memory_.ownsDevice |= findDevice(before).sink == nullptr || lender == ::getpid();
    memory_.ownsDevice |= lender != 0 && !isAlive(lender);  // of a lender that was killed
    if (memory_.former == Defaults()) memory_.former = readDefaults(memory_.file);
    memory_.former = toRemember(before, memory_.former);
    memory_.hasLent = true;
    createDevice(client_, ::getpid());
    writeDefaults(memory_.file, memory_.former);
    makeDefault(client_, memory_.held);
    if (memory_.held.output) takePrograms();
  }

  void obey(const std::string& command) {
    if (command == "lend") {
      memory_.held = kBoth;
      lend();
    }
    if (command == "move") moveAll();
    if (command.starts_with("play-here ")) {
      memory_.playsHere = command.ends_with("on");
      playHere();
    }
  }

  void reportSound() {
    const Snapshot now = client_.look();
    memory_.held = stillHeld(now, memory_.held);
    checkLoopback(now);
    if (auto line = soundLine(now); line != said_) say(said_ = std::move(line));
  }

  // ---- The programs that play

  void take(const Snapshot& now, const Playback& playback, const Endpoint& device) {
    const Endpoint* const from = find(now.sinks, playback.sink);
    if (client_.move(playback, device) && from != nullptr) {
      moved_.emplace(playback.index, from->name);
    }
  }

  /// What plays on the former default output and has not followed.
  void takePrograms() {
    const auto left = [this](const Snapshot& now) {
      return programsOn(now, find(now.sinks, memory_.former.output));
    };
    client_.waitUntil([&](const Snapshot& now) { return left(now).empty(); }, kFollowing);
    const Snapshot now = client_.look();
    const Endpoint* const device = findDevice(now).sink;
    if (device == nullptr) return;
    for (const Playback& each : left(now)) take(now, each, *device);
  }

  void moveAll() {
    const Snapshot now = client_.look();
    const DevicePair device = findDevice(now);
    if (device.sink == nullptr) return;
    for (const Endpoint* const end : {device.sink, device.source}) {
      if (end != nullptr && end->isSilenced()) client_.unmute(*end);
    }
    for (const Playback& each : playingElsewhere(now)) take(now, each, *device.sink);
  }

  /// Those that were moved go to where they were; where the device goes, all others too.
  void returnPrograms() {
    const auto left = [this](const Snapshot& now) {
      auto programs = programsOn(now, findDevice(now).sink);
      if (!memory_.ownsDevice) {
        std::erase_if(programs, [&](const Playback& each) { return !moved_.contains(each.index); });
      }
      return programs;
    };
    client_.waitUntil([&](const Snapshot& now) { return left(now).empty(); }, kFollowing);
    const Snapshot now = client_.look();
    for (const Playback& each : left(now)) {
      const Endpoint* to = find(now.sinks, moved_[each.index]);
      if (to == nullptr) to = find(now.sinks, now.defaultSink);
      if (to != nullptr && to->index != each.sink) client_.move(each, *to);
    }
  }

  // ---- The loopback

  void playHere() {
    endLoopback();
    if (memory_.playsHere) beginLoopback();
    memory_.playsHere = loopback_.has_value();
    say(loopback_ ? "playing-here on" : "playing-here off");
  }

  /// To the former default output, else to any that is not the device.
  void beginLoopback() {
    const Snapshot now = client_.look();
    const Endpoint* const device = findDevice(now).sink;
    if (device == nullptr) return;
    const auto mayPlay = [device](const Endpoint& sink) { return sink.index != device->index; };
    const Endpoint* here = find(now.sinks, memory_.former.output);
    if (here == nullptr || !mayPlay(*here)) {
      const auto other = std::ranges::find_if(now.sinks, mayPlay);
      if (other == now.sinks.end()) return;
      here = &*other;
    }
    loopback_ = client_.load(loopbackModule(*device, *here));
  }

  /// Also one that was begun before the connection broke.
  void endLoopback() {
    loopback_.reset();
    for (const Module& each : client_.look().modules) {
      if (each.argument.contains(kLoopbackMark)) client_.unload(each.index);
    }
  }

  /// Ends a loopback that has lost its loudspeakers, or got into the device.
  void checkLoopback(const Snapshot& now) {
    if (!loopback_) return;
    const Endpoint* const device = findDevice(now).sink;
    const bool feedsBack = std::ranges::any_of(now.playbacks, [&](const Playback& each) {
      return each.isLoopback && device != nullptr && each.sink == device->index;
    });
    const bool loaded = std::ranges::count(now.modules, *loopback_, &Module::index) > 0;
    if (loaded && !feedsBack) return;
    memory_.playsHere = false;
    playHere();
  }

  PulseClient& client_;
  const Duty duty_;
  Memory& memory_;
  bool isLent_ = true;
  std::map<std::uint32_t, std::string> moved_;  ///< playbacks, and the sinks they were on
  std::optional<std::uint32_t> loopback_;
  std::string said_ = "clear";
};

}  // namespace

bool serve(Duty duty, const std::filesystem::path& lentDefaults) {
  Input input;
  Memory memory{.file = lentDefaults};
  bool hasBegun = false;
  std::optional<std::chrono::steady_clock::time_point> end;
  while (true) {
    try {
      PulseClient client;
      Service service(client, duty, memory);
      if (!input.hasEnded()) hasBegun |= service.lend();
      if (!hasBegun) input.end();
      service.run(input);
      service.giveBack();
      return hasBegun;
    } catch (const Error& error) {
      const bool hasFailed = !hasBegun && !input.hasEnded();
      if (hasFailed) input.end();
      if (hasFailed || std::exchange(memory.isAsked, false)) sayFailed(error);
      if (input.hasEnded()) {
        if (!memory.hasLent) return hasBegun;
        const auto now = std::chrono::steady_clock::now();
        if (!end) end = now + kGiveBackLimit;
        if (now >= *end || input.isHurried()) return false;
      }
      for (const auto& command : input.read(kReconnectInterval)) {
        if (command == "lend") sayFailed(error);
        if (command.starts_with("play-here ")) memory.playsHere = command.ends_with("on");
      }
    }
  }
}

}  // namespace quorin::device
