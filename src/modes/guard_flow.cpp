#include "modes/guard_flow.h"

#include "core/log.h"

#include <optional>
#include <string>
#include <tuple>
#include <utility>

namespace quorin::app {

using namespace std::chrono_literals;
using audio::DefaultDevices;
using audio::Routing;
using desktop::AuthorizationStatus;

namespace {

/// How long "verifying" is shown before the first check, so that it can be read.
constexpr auto kFirstCheckDelay = 500ms;
/// After the device is set up, the guard polls faster.
constexpr auto kRecheckInterval = 20ms;
constexpr int kMaxRechecks = 50;
constexpr dispatch::TimerSchedule kPoll{.first = 800ms, .interval = 800ms, .leeway = 200ms};
constexpr dispatch::TimerSchedule kWatch{.first = 1s, .interval = 1s, .leeway = 200ms};

/// Equal until a default device changes: another number counts, another name does not. A restarted
/// audio server renumbers its devices.
auto identityOf(const DefaultDevices& devices) {
  return std::tuple(devices.output.number, devices.input.number, devices.connection);
}

}  // namespace

/// Made and destroyed on the main queue.
class GuardFlow::Poll {
 public:
  /// `look` runs on the utility queue and may still be running during destruction, so it owns what
  /// it uses. Its result, if any, goes to `then` on the main queue, but not after destruction.
  template <typename Look, typename Then>
  Poll(dispatch::Scheduler& scheduler, dispatch::TimerSchedule schedule, Look look, Then then)
      : timer_(scheduler.utilityQueue().makeTimer(
            schedule, [look = std::move(look), &main = scheduler.mainQueue(),
                       then = scope_.bind(std::move(then))]() mutable {
              if (const auto seen = look()) main.async([then, seen]() mutable { then(*seen); });
            })) {}

 private:
  dispatch::Scope scope_;
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
  // A guard that is already up keeps its text, so that it does not change while the user corrects
  // the devices one by one.
  if (!std::exchange(state_.guard, true)) state_.textKey = audio::guardTextKey(routing).value();
  refreshAudioGuardStatus();
  if (audioGuardTimer_) return;
  audioGuardTimer_ = std::make_unique<Poll>(
      scheduler_, kPoll, [] { return std::optional(true); },
      [this, kind](bool) { onGuardPoll(kind); });
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
  waitForDevices(kMaxRechecks);
}

void GuardFlow::waitForDevices(int rechecksLeft) {
  const bool isRight = routing().isRight();
  if (state_.guard && isRight) return passGuard();
  if (isRight || rechecksLeft == 0) {
    state_.settingUp = false;
    screens_.apply(state_);
    return;
  }
  scheduler_.mainQueue().asyncAfter(kRecheckInterval, scope_,
                                    [this, rechecksLeft] { waitForDevices(rechecksLeft - 1); });
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
  micStatusTimer_ = std::make_unique<Poll>(
      scheduler_, kPoll,
      [inputs = inputs_] {
        const bool isAllowed = inputs->microphoneStatus() == AuthorizationStatus::kAuthorized;
        return isAllowed ? std::optional(true) : std::nullopt;
      },
      [this](bool) { onMicrophoneAllowed(); });
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
  audioDefaultWatchTimer_ = std::make_unique<Poll>(
      scheduler_, kWatch,
      [inputs = inputs_,
       last = identityOf(inputs_->defaultDevices())]() mutable -> std::optional<Routing> {
        const DefaultDevices devices = inputs->defaultDevices();
        const auto before = std::exchange(last, identityOf(devices));
        if (last == before) return std::nullopt;
        return audio::routingOf(devices);
      },
      [this](const Routing& routing) { onDefaultDevicesChanged(routing); });
}

void GuardFlow::onDefaultDevicesChanged(const Routing& routing) {
  // A pending check will see the change itself.
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
  log::noteInFile(
      "guard", inputs_->hasAskedUser()
                   ? "✅ Permiso de micrófono concedido. La captura iniciará al elegir modo."
                   : "✅ Permiso de micrófono ya concedido. La captura iniciará al elegir modo.");
}

}  // namespace quorin::app
