#include "modes/guard_flow.h"

#include "core/simulated_scheduler.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quorin::app {
namespace {

using namespace std::chrono_literals;
using audio::DefaultDevices;
using audio::Device;
using desktop::AuthorizationStatus;
using enum desktop::AuthorizationStatus;

const Device kVirtual{.number = 4, .name = "Quorin Audio", .format = {}};
const Device kOtherVirtual{.number = 5, .name = "Quorin Audio 2", .format = {}};
const Device kSpeaker{.number = 1, .name = "Built-in Audio", .format = {}};
const Device kNone{};

struct StandInInputs : GuardInputs {
  DefaultDevices devices{.output = kVirtual, .input = kVirtual};
  AuthorizationStatus microphone = kAuthorized;
  dispatch::Task answered;

  std::function<void()> whenRead = [] {};

  DefaultDevices defaultDevices() const override {
    whenRead();
    return devices;
  }
  AuthorizationStatus microphoneStatus() const override { return microphone; }
  void requestMicrophoneAccess(dispatch::Task task) override { answered = std::move(task); }
  bool hasAskedUser() const override { return false; }
};

/// The screen that the user sees.
enum class Front { kPage, kMenu, kChecking, kGuard, kMicrophone };

struct StandInScreens : GuardScreens {
  bool splash = false;
  bool onPage = false;
  int stops = 0;
  int loans = 0;
  GuardState state;

  bool splashIsUp() const override { return splash; }
  void apply(const GuardState& newState) override { state = newState; }
  void leavePages() override { onPage = false; }
  void showMenu() override { onPage = false; }
  void stopAllSessionsForAudioChange() override { ++stops; }
  void lendDevice() override { ++loans; }

  Front front() const {
    if (state.microphone) return Front::kMicrophone;
    if (state.guard) return Front::kGuard;
    if (state.checking) return Front::kChecking;
    return onPage ? Front::kPage : Front::kMenu;
  }
};

class GuardFlowTest : public ::testing::Test {
 protected:
  dispatch::SimulatedScheduler time;
  std::shared_ptr<StandInInputs> inputs = std::make_shared<StandInInputs>();
  StandInScreens screens;
  std::unique_ptr<GuardFlow> flow = std::make_unique<GuardFlow>(time, inputs, screens);

  Front front() const { return screens.front(); }
  void setOutput(const Device& device) { inputs->devices.output = device; }
  void setInput(const Device& device) { inputs->devices.input = device; }
  void setMicrophone(AuthorizationStatus status) { inputs->microphone = status; }

  /// Until the splash is gone and the first check is done.
  void startUp() {
    flow->startAudioDefaultWatch();
    flow->setupAudioCheckFlow();
    time.advance(500ms);
  }
  /// Until a page streams.
  void enterPage() {
    startUp();
    ASSERT_EQ(front(), Front::kMenu);
    screens.onPage = true;
  }
};

/// Starts from a streaming page: an event, a wait, and the screen that is in front then.
TEST_F(GuardFlowTest, WhatIsInFrontAfterEachEvent) {
  struct Step {
    const char* event;
    std::function<void()> happens;
    std::chrono::milliseconds later;
    Front front;
    int stops;
  };
  const auto output = [this](const Device& device) { return [=, this] { setOutput(device); }; };
  const auto input = [this](const Device& device) { return [=, this] { setInput(device); }; };
  const auto microphone = [this](AuthorizationStatus status) {
    return [=, this] { setMicrophone(status); };
  };
  const auto page = [this] { screens.onPage = true; };
  const Device renamed{.number = kVirtual.number, .name = "Something else", .format = {}};
  const std::vector<std::vector<Step>> stories = {
      {{"a change is undone between two ticks", output(kSpeaker), 400ms, Front::kPage, 0},
       {"", output(kVirtual), 10s, Front::kPage, 0},
       {"the same device under a new name", output(renamed), 10s, Front::kPage, 0},
       {"other right devices", output(kOtherVirtual), 1s, Front::kPage, 0},
       {"", input(kOtherVirtual), 10s, Front::kPage, 0}},
      {{"a wrong output", output(kSpeaker), 1s, Front::kGuard, 1},
       {"corrected: the page does not come back", output(kVirtual), 800ms, Front::kMenu, 1},
       {"a wrong input", input(kSpeaker), 1s, Front::kGuard, 2},
       {"corrected", input(kVirtual), 800ms, Front::kMenu, 2}},
      {{"no permission: checked at the next change", microphone(kDenied), 10s, Front::kPage, 0},
       {"another right device", output(kOtherVirtual), 1s, Front::kMicrophone, 1},
       {"allowed", microphone(kAuthorized), 800ms, Front::kMenu, 1}},
      {{"the poll after a change does not test the microphone", output(kSpeaker), 1s, Front::kGuard,
        1},
       {"", microphone(kDenied), 10s, Front::kGuard, 1},
       {"a further change does", output(kNone), 1s, Front::kMicrophone, 2},
       {"allowed, the device still wrong", microphone(kAuthorized), 800ms, Front::kGuard, 2},
       {"the priority rule's poll tests it", microphone(kDenied), 800ms, Front::kMicrophone, 3}},
      {{"the audio server restarts and gives the number to another device",
        [this] {
          inputs->devices.connection += 1;
          setOutput({.number = kVirtual.number, .name = "Built-in Audio", .format = {}});
        },
        1s, Front::kGuard, 1}},
  };
  for (const auto& story : stories) {
    flow.reset();
    *inputs = {};
    screens = {};
    flow = std::make_unique<GuardFlow>(time, inputs, screens);
    enterPage();
    page();
    for (const auto& [event, happens, later, front, stops] : story) {
      happens();
      time.advance(later);
      EXPECT_EQ(screens.front(), front) << event;
      EXPECT_EQ(screens.stops, stops) << event;
    }
  }
}

TEST_F(GuardFlowTest, TheFirstCheckWaitsForTheSplashAndThenHalfASecond) {
  inputs->devices = {};
  screens.splash = true;
  flow->startAudioDefaultWatch();
  flow->setupAudioCheckFlow();
  time.advance(10s);
  setInput(kVirtual);
  setOutput(kSpeaker);  // the first answer of a late audio server
  time.advance(1500ms);
  EXPECT_EQ(screens.state, GuardState{});

  screens.splash = false;
  flow->setupAudioCheckFlow();
  time.advance(499ms);
  EXPECT_EQ(front(), Front::kChecking);
  time.advance(1ms);
  EXPECT_EQ(front(), Front::kGuard);
  setMicrophone(kDenied);
  time.advance(800ms);
  EXPECT_EQ(front(), Front::kMicrophone) << "the poll is the check's, which tests both";
}

TEST_F(GuardFlowTest, TheGuardKeepsItsTextWhileItsStatusLinesChange) {
  setOutput(kSpeaker);
  startUp();
  EXPECT_EQ(screens.state.textKey, "audio.guard.text.out");
  EXPECT_EQ(screens.state.output, (DeviceStatus{false, "Built-in Audio"}));
  EXPECT_EQ(screens.state.input, (DeviceStatus{true, "Quorin Audio"}));
  setInput(kNone);
  time.advance(800ms);
  EXPECT_EQ(screens.state.textKey, "audio.guard.text.out");
  EXPECT_EQ(screens.state.input, (DeviceStatus{false, "(sin dispositivo)"}));
}

TEST_F(GuardFlowTest, OnlyThePermissionRemovesTheMicrophoneScreen) {
  for (const auto status : {kNotDetermined, kRestricted, kDenied}) {
    flow->setupAudioCheckFlow();
    time.advance(400ms);
    setMicrophone(status);
    flow->showMicDeniedOverlay();
    time.advance(100ms);  // the pending device check finds nothing wrong
    EXPECT_EQ(front(), Front::kMicrophone);
    flow->setupAudioCheckFlow();
    time.advance(10s);
    EXPECT_EQ(front(), Front::kMicrophone) << "whatever the devices are";
    setMicrophone(kAuthorized);
    time.advance(800ms);
    EXPECT_EQ(front(), Front::kMenu);
  }
}

TEST_F(GuardFlowTest, TheButtonSetsTheDeviceUpAndLeadsToTheMenuAtOnce) {
  setOutput(kSpeaker);
  inputs->devices.server = "a server";
  startUp();
  EXPECT_TRUE(screens.state.hasServer);
  flow->setUp();
  flow->setUp();
  EXPECT_TRUE(screens.state.settingUp);
  EXPECT_EQ(screens.loans, 1) << "a second click waits for the first";

  flow->onSetUpFailed("why");
  EXPECT_FALSE(screens.state.settingUp);
  EXPECT_EQ(screens.state.setUpFailureKey, "why");
  flow->setUp();
  EXPECT_EQ(screens.state.setUpFailureKey, "");
  time.advance(300ms);
  flow->onSetUp();
  EXPECT_EQ(front(), Front::kGuard) << "the devices are not updated yet";
  setOutput(kVirtual);
  time.advance(20ms);
  EXPECT_EQ(front(), Front::kMenu);
  EXPECT_FALSE(screens.state.settingUp);

  time.advance(2s);
  setOutput(kSpeaker);
  inputs->devices.server = {};
  time.advance(1s);
  EXPECT_FALSE(screens.state.hasServer);
  flow->setUp();
  flow->onSetUp();
  time.advance(1s);
  EXPECT_FALSE(screens.state.settingUp) << "the button works again";
}

TEST_F(GuardFlowTest, PendingWorkDoesNotOutliveTheFlow) {
  flow->startAudioDefaultWatch();
  setMicrophone(kNotDetermined);
  flow->requestMicrophonePermission();
  setOutput(kSpeaker);
  // Destroys the flow on the main queue just before the watch's tick arrives there.
  inputs->whenRead = [&] { time.mainQueue().async([&] { flow.reset(); }); };
  time.advance(1s);
  ASSERT_EQ(flow, nullptr);
  setMicrophone(kDenied);
  inputs->answered();
  time.advance(10s);
  EXPECT_EQ(screens.state, GuardState{});
  EXPECT_EQ(screens.stops, 0);
}

}  // namespace
}  // namespace quorin::app
