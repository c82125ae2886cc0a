#include "modes/guard_flow.h"

#include "core/log.h"

#include <string>
#include <utility>

namespace quorin::app {

using namespace std::chrono_literals;
using audio::DefaultDevices;
using audio::Routing;
using desktop::AuthorizationStatus;

namespace {

/// How long "verifying" stands before the first look at the devices, so that it can be read.
constexpr auto kFirstCheckDelay = 500ms;
/// After the device was set up the guard does not wait for its next poll.
constexpr auto kLookAgain = 20ms;
constexpr int kLooks = 50;
constexpr dispatch::TimerSchedule kPoll{.first = 800ms, .interval = 800ms, .leeway = 200ms};
constexpr dispatch::TimerSchedule kWatch{.first = 1s, .interval = 1s, .leeway = 200ms};

/// A change of a default device is a change of its number; its name alone tells nothing. An audio
/// server that was restarted deals the numbers anew.
struct SeenDevices {
  std::uint32_t lastDefaultOut = 0;
  std::uint32_t lastDefaultIn = 0;
  std::uint32_t connection = 0;

  explicit SeenDevices(const DefaultDevices& devices)
      : lastDefaultOut(devices.output.number),
        lastDefaultIn(devices.input.number),
        connection(devices.connection) {}
  bool operator==(const SeenDevices&) const = default;
};

}  // namespace

/// A timer on the utility queue whose ticks go on on the main queue through `Hop`. Made and
/// destroyed on the main queue; what hopped before the destruction does not run after it.
class GuardFlow::MainPoll {
 public:
  class Hop {
   public:
    void operator()(dispatch::Task task) const {
      main_->async([alive = alive_, task = std::move(task)]() mutable {
        if (!alive.expired()) task();
      });
    }

   private:
    friend MainPoll;
    Hop(dispatch::Queue& main, const std::shared_ptr<char>& alive) : main_(&main), alive_(alive) {}

    dispatch::Queue* main_;
    std::weak_ptr<char> alive_;
  };
  /// Runs on the utility queue, perhaps for the last time while the poll is being destroyed on
  /// the main queue: it owns what it uses.
  using Tick = std::move_only_function<void(const Hop& hop)>;

  MainPoll(dispatch::Scheduler& scheduler, dispatch::TimerSchedule schedule, Tick tick)
      : timer_(scheduler.utilityQueue().makeTimer(
            schedule, [tick = std::move(tick), hop = Hop(scheduler.mainQueue(), alive_)]() mutable {
              tick(hop);
            })) {}

 private:
  std::shared_ptr<char> alive_ = std::make_shared<char>();
  std::unique_ptr<dispatch::Timer> timer_;
};

GuardFlow::GuardFlow(dispatch::Scheduler& scheduler, std::shared_ptr<GuardInputs> inputs,
                     GuardScreens& screens)
    : scheduler_(scheduler), inputs_(std::move(inputs)), screens_(screens) {}

GuardFlow::~GuardFlow() = default;

bool GuardFlow::microphoneAuthorized() const {
  return inputs_->microphoneStatus() == AuthorizationStatus::kAuthorized;
}

void GuardFlow::setupAudioCheckFlow() {
  state_.guard = false;
  state_.checking = !screens_.splashIsUp();
  if (!state_.checking) {
    screens_.apply(state_);
    return;
  }
  if (!microphoneAuthorized()) {
    showMicDeniedOverlay();
    return;
  }
  screens_.apply(state_);
  scheduler_.mainQueue().asyncAfter(kFirstCheckDelay, scope_, [this] { runDeviceCheck(); });
}

void GuardFlow::runDeviceCheck() {
  state_.checking = false;
  if (const Routing routing = this->routing(); !routing.isRight()) {
    showGuard(routing, PollKind::kCheckFlow);
  } else {
    passGuard();
  }
}

void GuardFlow::showGuard(const Routing& routing, PollKind kind) {
  log::detail("guard", std::string("shown: output ") + (routing.outOK ? "right" : "wrong") +
                           ", input " + (routing.inOK ? "right" : "wrong"));
  screens_.leavePages();
  // A guard that is already up keeps its text, so that it does not change under the reader's eyes
  // while the devices are put right one by one.
  if (!std::exchange(state_.guard, true)) state_.textKey = audio::guardTextKey(routing).value();
  refreshAudioGuardStatus();
  if (audioGuardTimer_) return;
  audioGuardTimer_ = std::make_unique<MainPoll>(
      scheduler_, kPoll,
      [this, kind](const MainPoll::Hop& hop) { hop([this, kind] { onGuardPoll(kind); }); });
}

void GuardFlow::passGuard() {
  log::detail("guard", "passed");
  audioGuardTimer_.reset();
  state_.guard = false;
  state_.settingUp = false;
  state_.setUpFailureKey = {};
  screens_.apply(state_);
  if (!state_.microphone) screens_.showMenu();
}

void GuardFlow::onGuardPoll(PollKind kind) {
  if (kind == PollKind::kCheckFlow && !microphoneAuthorized()) {
    showMicDeniedOverlay();
  } else if (routing().isRight()) {
    passGuard();
  } else {
    refreshAudioGuardStatus();
  }
}

void GuardFlow::refreshAudioGuardStatus() {
  const DefaultDevices devices = inputs_->defaultDevices();
  const Routing routing = audio::routingOf(devices);
  state_.output = {.right = routing.outOK, .name = audio::currentDeviceName(devices.output)};
  state_.input = {.right = routing.inOK, .name = audio::currentDeviceName(devices.input)};
  const bool hasServer = !devices.server.empty();
  if (hasServer != state_.hasServer) state_.setUpFailureKey = {};  // a missing server was its cause
  state_.hasServer = hasServer;
  screens_.apply(state_);
}

void GuardFlow::setUp() {
  if (std::exchange(state_.settingUp, true)) return;
  state_.setUpFailureKey = {};
  screens_.apply(state_);
  screens_.lendDevice();
}

void GuardFlow::onSetUp() {
  state_.setUpFailureKey = {};
  awaitDevices(kLooks);
}

void GuardFlow::awaitDevices(int looksLeft) {
  const bool isRight = routing().isRight();
  if (state_.guard && isRight) return passGuard();
  if (isRight || looksLeft == 0) {
    state_.settingUp = false;
    screens_.apply(state_);
    return;
  }
  scheduler_.mainQueue().asyncAfter(kLookAgain, scope_,
                                    [this, looksLeft] { awaitDevices(looksLeft - 1); });
}

void GuardFlow::onSetUpFailed(std::string_view key) {
  state_.settingUp = false;
  state_.setUpFailureKey = key;
  screens_.apply(state_);
}

void GuardFlow::showMicDeniedOverlay() {
  log::detail("guard", "the microphone is not allowed");
  screens_.stopAllSessionsForAudioChange();
  screens_.leavePages();
  audioGuardTimer_.reset();
  state_.checking = false;
  state_.guard = false;
  state_.microphone = true;
  screens_.apply(state_);
  startMicStatusWatch();
}

void GuardFlow::startMicStatusWatch() {
  if (micStatusTimer_) return;
  micStatusTimer_ = std::make_unique<MainPoll>(
      scheduler_, kPoll, [this, inputs = inputs_](const MainPoll::Hop& hop) {
        if (inputs->microphoneStatus() == AuthorizationStatus::kAuthorized) {
          hop([this] { onMicrophoneAllowed(); });
        }
      });
}

void GuardFlow::onMicrophoneAllowed() {
  micStatusTimer_.reset();
  state_.microphone = false;
  applyGuardPriority();
}

void GuardFlow::applyGuardPriority() {
  if (!microphoneAuthorized()) {
    showMicDeniedOverlay();
    return;
  }
  state_.microphone = false;
  if (const Routing routing = this->routing(); !routing.isRight()) {
    showGuard(routing, PollKind::kCheckFlow);
  } else {
    passGuard();
  }
}

void GuardFlow::startAudioDefaultWatch() {
  if (audioDefaultWatchTimer_) return;
  audioDefaultWatchTimer_ = std::make_unique<MainPoll>(
      scheduler_, kWatch,
      [this, inputs = inputs_,
       last = SeenDevices(inputs_->defaultDevices())](const MainPoll::Hop& hop) mutable {
        const DefaultDevices devices = inputs->defaultDevices();
        const auto before = std::exchange(last, SeenDevices(devices));
        if (last == before) return;
        hop([this, routing = audio::routingOf(devices)] { onDefaultDevicesChanged(routing); });
      });
}

void GuardFlow::onDefaultDevicesChanged(const Routing& routing) {
  // A check that is still to come looks for itself.
  if (screens_.splashIsUp() || state_.checking) return;
  if (!microphoneAuthorized()) {
    showMicDeniedOverlay();
  } else if (!routing.isRight()) {
    screens_.stopAllSessionsForAudioChange();
    showGuard(routing, PollKind::kDeviceChange);
  }
}

void GuardFlow::requestMicrophonePermission() {
  if (inputs_->microphoneStatus() == AuthorizationStatus::kNotDetermined) {
    inputs_->requestMicrophoneAccess(scope_.bind([this] { onMicrophoneAnswer(); }));
  } else {
    onMicrophoneAnswer();
  }
}

void GuardFlow::onMicrophoneAnswer() {
  if (!microphoneAuthorized()) return showMicDeniedOverlay();
  log::note("guard",
            inputs_->hasAskedUser()
                ? "✅ Permiso de micrófono concedido. La captura iniciará al elegir modo."
                : "✅ Permiso de micrófono ya concedido. La captura iniciará al elegir modo.");
}

}  // namespace quorin::app
