#include "modes/guard_flow.h"

#include "core/simulated_scheduler.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace quorin::app {
namespace {

using namespace std::chrono_literals;
using audio::DefaultDevices;
using audio::Device;
using desktop::AuthorizationStatus;
using dispatch::SimulatedScheduler;

const Device kVirtual{.number = 4, .name = "Quorin Audio", .format = {}};
const Device kOtherVirtual{.number = 5, .name = "Quorin Audio 2", .format = {}};
const Device kSpeaker{.number = 1, .name = "Built-in Audio", .format = {}};
const Device kNone{};

constexpr auto kAsksForBoth = "audio.guard.text.both";
constexpr auto kAsksForOutput = "audio.guard.text.out";
constexpr auto kAsksForInput = "audio.guard.text.in";

struct StandInInputs : GuardInputs {
  DefaultDevices devices{.output = kVirtual, .input = kVirtual};
  AuthorizationStatus microphone = AuthorizationStatus::kAuthorized;
  dispatch::Task answered;

  std::function<void()> whenRead = [] {};

  DefaultDevices defaultDevices() const override {
    whenRead();
    return devices;
  }
  AuthorizationStatus microphoneStatus() const override { return microphone; }
  void requestMicrophoneAccess(dispatch::Task task) override { answered = std::move(task); }
};

/// What a person sees in front, as the window would decide it.
enum class Front { kPage, kMenu, kChecking, kGuard, kMicrophone };

struct StandInScreens : GuardScreens {
  bool splash = false;
  bool onPage = false;
  int stops = 0;
  int loans = 0;
  int menus = 0;
  GuardState state;

  bool splashIsUp() const override { return splash; }
  void apply(const GuardState& newState) override { state = newState; }
  void leavePages() override { onPage = false; }
  void showMenu() override {
    onPage = false;
    ++menus;
  }
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
  SimulatedScheduler time;
  std::shared_ptr<StandInInputs> inputs = std::make_shared<StandInInputs>();
  StandInScreens screens;
  std::unique_ptr<GuardFlow> flow = std::make_unique<GuardFlow>(time, inputs, screens);

  Front front() const { return screens.front(); }
  void setOutput(const Device& device) { inputs->devices.output = device; }
  void setInput(const Device& device) { inputs->devices.input = device; }
  void setMicrophone(AuthorizationStatus status) { inputs->microphone = status; }

  /// The program with its splash gone and the first check done.
  void startUp() {
    flow->startAudioDefaultWatch();
    flow->setupAudioCheckFlow();
    time.advance(500ms);
  }
  /// As after choosing a card and starting a stream.
  void enterPage() {
    startUp();
    ASSERT_EQ(front(), Front::kMenu);
    screens.onPage = true;
  }
};

TEST_F(GuardFlowTest, TheFirstCheckWaitsForTheSplashAndThenHalfASecond) {
  screens.splash = true;
  flow->setupAudioCheckFlow();
  time.advance(10s);
  EXPECT_EQ(screens.state, GuardState{});
  EXPECT_EQ(screens.menus, 0);

  screens.splash = false;
  flow->setupAudioCheckFlow();
  EXPECT_EQ(front(), Front::kChecking);
  time.advance(499ms);
  EXPECT_EQ(front(), Front::kChecking);
  EXPECT_EQ(screens.menus, 0);
  time.advance(1ms);
  EXPECT_EQ(front(), Front::kMenu);
  EXPECT_EQ(screens.menus, 1);
}

TEST_F(GuardFlowTest, TheCheckShowsWhatIsWrong) {
  const Device unreadable{.number = 3, .name = std::nullopt, .format = {}};
  const struct {
    Device output, input;
    std::string_view text;
    DeviceStatus outputLine, inputLine;
  } cases[] = {
      {kVirtual, kSpeaker, kAsksForInput, {true, "Quorin Audio"}, {false, "Built-in Audio"}},
      {kSpeaker, kVirtual, kAsksForOutput, {false, "Built-in Audio"}, {true, "Quorin Audio"}},
      {kSpeaker, kNone, kAsksForBoth, {false, "Built-in Audio"}, {false, "(sin dispositivo)"}},
      {unreadable, kVirtual, kAsksForOutput, {false, "(desconocido)"}, {true, "Quorin Audio"}},
  };
  for (const auto& [output, input, text, outputLine, inputLine] : cases) {
    SCOPED_TRACE(outputLine.name + " / " + inputLine.name);
    setOutput(output);
    setInput(input);
    flow->setupAudioCheckFlow();
    time.advance(500ms);
    EXPECT_EQ(front(), Front::kGuard);
    EXPECT_EQ(screens.state.textKey, text);
    EXPECT_EQ(screens.state.output, outputLine);
    EXPECT_EQ(screens.state.input, inputLine);
  }
  EXPECT_EQ(screens.menus, 0);
}

TEST_F(GuardFlowTest, AChangeForTheWorseStopsEverythingAndShowsTheGuard) {
  enterPage();
  int stops = 0;
  for (const auto which : {&DefaultDevices::output, &DefaultDevices::input}) {
    screens.onPage = true;
    inputs->devices.*which = kSpeaker;
    time.advance(1s);
    EXPECT_EQ(front(), Front::kGuard);
    EXPECT_EQ(screens.stops, ++stops);

    inputs->devices.*which = kVirtual;
    time.advance(800ms);
    EXPECT_EQ(front(), Front::kMenu) << "the page is not brought back";
    time.advance(10s);
    EXPECT_EQ(screens.stops, stops);
  }
}

TEST_F(GuardFlowTest, WhatNeedsNoGuardChangesNothing) {
  enterPage();
  setOutput(kSpeaker);
  time.advance(400ms);
  setOutput(kVirtual);
  time.advance(10s);
  EXPECT_EQ(front(), Front::kPage) << "undone between two ticks";
  setOutput({.number = kVirtual.number, .name = "Something else", .format = {}});
  time.advance(10s);
  EXPECT_EQ(front(), Front::kPage) << "a new name of the same device";
  setOutput(kOtherVirtual);
  time.advance(1s);
  setInput(kOtherVirtual);
  time.advance(10s);
  EXPECT_EQ(front(), Front::kPage) << "other right devices";
  EXPECT_EQ(screens.stops, 0);
}

TEST_F(GuardFlowTest, AGuardThatIsUpKeepsItsTextThroughFurtherChanges) {
  enterPage();
  setOutput(kSpeaker);
  time.advance(1s);
  EXPECT_EQ(screens.state.textKey, kAsksForOutput);
  setInput(kSpeaker);
  time.advance(1s);
  EXPECT_EQ(screens.state.textKey, kAsksForOutput);
  EXPECT_FALSE(screens.state.input.right);
  setInput({.number = kSpeaker.number, .name = "Renamed", .format = {}});
  time.advance(1s);
  EXPECT_EQ(screens.state.input.name, "Renamed");
}

TEST_F(GuardFlowTest, OnlyTheCheckFlowsPollTestsTheMicrophone) {
  setOutput(kSpeaker);
  startUp();
  setMicrophone(AuthorizationStatus::kDenied);
  time.advance(800ms);
  EXPECT_EQ(front(), Front::kMicrophone);

  setMicrophone(AuthorizationStatus::kAuthorized);
  setOutput(kVirtual);
  time.advance(2s);
  ASSERT_EQ(front(), Front::kMenu);

  setOutput(kSpeaker);
  time.advance(1s);
  ASSERT_EQ(front(), Front::kGuard);
  setMicrophone(AuthorizationStatus::kDenied);
  time.advance(10s);
  EXPECT_EQ(front(), Front::kGuard);
}

TEST_F(GuardFlowTest, ThePathThatCameFirstDecidesTheKindOfPoll) {
  setOutput(kSpeaker);
  startUp();
  setOutput(kNone);
  time.advance(1s);
  EXPECT_EQ(screens.stops, 1);
  setMicrophone(AuthorizationStatus::kDenied);
  time.advance(800ms);
  EXPECT_EQ(front(), Front::kMicrophone);
}

TEST_F(GuardFlowTest, TheMicrophoneScreenEndsThePollWhateverItsKind) {
  enterPage();
  setOutput(kSpeaker);
  time.advance(1s);
  setMicrophone(AuthorizationStatus::kDenied);
  setOutput(kNone);
  time.advance(1s);
  ASSERT_EQ(front(), Front::kMicrophone);
  setMicrophone(AuthorizationStatus::kAuthorized);
  time.advance(800ms);
  ASSERT_EQ(front(), Front::kGuard);
  setMicrophone(AuthorizationStatus::kDenied);
  time.advance(800ms);
  EXPECT_EQ(front(), Front::kMicrophone) << "the priority rule's poll tests the microphone";
}

TEST_F(GuardFlowTest, EveryStatusButAuthorizedShowsTheMicrophoneScreen) {
  for (const auto status : {AuthorizationStatus::kNotDetermined, AuthorizationStatus::kRestricted,
                            AuthorizationStatus::kDenied}) {
    setMicrophone(status);
    flow->setupAudioCheckFlow();
    EXPECT_EQ(front(), Front::kMicrophone);
    time.advance(10s);
    EXPECT_EQ(front(), Front::kMicrophone) << "whatever the devices are";

    setMicrophone(AuthorizationStatus::kAuthorized);
    time.advance(800ms);
    EXPECT_EQ(front(), Front::kMenu);
  }
}

TEST_F(GuardFlowTest, ADeviceChangeWithoutPermissionShowsTheMicrophoneScreen) {
  enterPage();
  setMicrophone(AuthorizationStatus::kDenied);
  time.advance(10s);
  EXPECT_EQ(front(), Front::kPage) << "nobody looks before a device changes";
  setOutput(kOtherVirtual);
  time.advance(1s);
  EXPECT_EQ(front(), Front::kMicrophone);
  EXPECT_EQ(screens.stops, 1) << "nothing is sent behind the screen";
}

TEST_F(GuardFlowTest, TheFirstWordOfALateAudioServerIsLeftToTheCheck) {
  inputs->devices = {};
  screens.splash = true;
  flow->startAudioDefaultWatch();
  flow->setupAudioCheckFlow();
  setInput(kVirtual);
  setOutput(kSpeaker);
  time.advance(1500ms);
  EXPECT_EQ(screens.state, GuardState{});

  screens.splash = false;
  flow->setupAudioCheckFlow();
  time.advance(500ms);
  ASSERT_EQ(front(), Front::kGuard);
  setMicrophone(AuthorizationStatus::kDenied);
  time.advance(800ms);
  EXPECT_EQ(front(), Front::kMicrophone) << "the poll is the check's, which asks for both";
}

TEST_F(GuardFlowTest, ARestartedServersDeviceOfTheSameNumberIsAnotherDevice) {
  enterPage();
  inputs->devices.connection += 1;
  setOutput({.number = kVirtual.number, .name = "Built-in Audio", .format = {}});
  time.advance(1s);
  EXPECT_EQ(front(), Front::kGuard);
  EXPECT_EQ(screens.stops, 1);
}

TEST_F(GuardFlowTest, NothingLiftsTheMicrophoneScreenButThePermission) {
  flow->startAudioDefaultWatch();
  flow->setupAudioCheckFlow();
  time.advance(400ms);
  setMicrophone(AuthorizationStatus::kDenied);
  flow->showMicDeniedOverlay();
  time.advance(100ms);  // the device check that was already on its way finds all right
  EXPECT_EQ(front(), Front::kMicrophone);
  EXPECT_EQ(screens.menus, 0);
  setMicrophone(AuthorizationStatus::kAuthorized);
  setOutput(kSpeaker);
  time.advance(400ms);
  setOutput(kVirtual);
  time.advance(400ms);
  EXPECT_EQ(front(), Front::kMenu);
  EXPECT_EQ(screens.menus, 1);
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
  EXPECT_EQ(front(), Front::kGuard) << "the news of the devices is on its way";
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
  EXPECT_FALSE(screens.state.settingUp) << "it may be tried again";
}

TEST_F(GuardFlowTest, TheStartUpQuestion) {
  flow->requestMicrophonePermission();
  EXPECT_FALSE(inputs->answered) << "already granted: nobody is asked";
  EXPECT_EQ(screens.state, GuardState{});

  setMicrophone(AuthorizationStatus::kNotDetermined);
  flow->requestMicrophonePermission();
  ASSERT_TRUE(inputs->answered);
  EXPECT_EQ(screens.state, GuardState{}) << "pending";
  setMicrophone(AuthorizationStatus::kAuthorized);
  inputs->answered();
  EXPECT_EQ(screens.state, GuardState{});

  setMicrophone(AuthorizationStatus::kNotDetermined);
  flow->requestMicrophonePermission();
  setMicrophone(AuthorizationStatus::kDenied);
  inputs->answered();
  EXPECT_EQ(front(), Front::kMicrophone);
}

TEST_F(GuardFlowTest, WorkUnderWayDoesNotOutliveTheFlow) {
  setOutput(kSpeaker);
  flow->startAudioDefaultWatch();
  flow->setupAudioCheckFlow();
  setMicrophone(AuthorizationStatus::kNotDetermined);
  flow->requestMicrophonePermission();
  flow.reset();
  const auto before = screens.state;
  setMicrophone(AuthorizationStatus::kDenied);
  inputs->answered();
  setOutput(kNone);
  time.advance(10s);
  EXPECT_EQ(screens.state, before);
  EXPECT_EQ(screens.stops, 0);
}

TEST_F(GuardFlowTest, ATickThatIsOnItsWayToTheMainQueueIsDropped) {
  flow->startAudioDefaultWatch();
  setOutput(kSpeaker);
  inputs->whenRead = [&] { time.mainQueue().async([&] { flow.reset(); }); };
  time.advance(1s);
  EXPECT_EQ(flow, nullptr);
  EXPECT_EQ(screens.stops, 0);
}

}  // namespace
}  // namespace quorin::app
