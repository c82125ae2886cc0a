#include "core/simulated_scheduler.h"
#include "platform/desktop/microphone_permission.h"
#include "platform/desktop/microphone_rules.h"
#include "support/eventually.h"
#include "support/private_bus.h"
#include "support/stand_in_portal.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

namespace quorin::desktop {
namespace {

using enum AuthorizationStatus;
using namespace std::chrono_literals;

TEST(MicrophoneRules, WhatTheUserForbadeComesFirst) {
  constexpr bool kFree = false;
  constexpr bool kSandboxed = true;
  constexpr auto kUnknown = std::optional<bool>();
  using enum StoredAnswer;
  const struct {
    const char* situation;
    MicrophoneFacts facts;
    AuthorizationStatus status;
  } cases[] = {
      {"the desktop has not answered", {kFree, std::nullopt, true}, kNotDetermined},
      {"no sandbox, no portal", {kFree, PortalAnswers{}, kUnknown}, kAuthorized},
      {"no sandbox, server refuses", {kFree, PortalAnswers{}, false}, kDenied},
      {"no sandbox, store says no", {kFree, {{kNo}}, true}, kDenied},
      {"no sandbox, store wants to ask", {kFree, {{kAsk}}, kUnknown}, kNotDetermined},
      {"sandbox, not asked", {kSandboxed, PortalAnswers{}, kUnknown}, kNotDetermined},
      {"sandbox, store says yes", {kSandboxed, {{kYes}}, kUnknown}, kAuthorized},
      {"sandbox, yes but refused", {kSandboxed, {{kYes}}, false}, kDenied},
      {"locked, whatever else", {kFree, {{kYes, true}}, true}, kRestricted},
  };
  for (const auto& [situation, facts, status] : cases) {
    EXPECT_EQ(authorizationStatus(facts), status) << situation;
  }
}

TEST(Sandbox, GivesTheNameThatTheDesktopKnows) {
  const test::TemporaryDirectory folder;
  const auto info = folder.path() / "info";
  EXPECT_EQ(identify("own.id", info), Identity("own.id", false));
  std::ofstream(info) << "[Instance]\nname=wrong\n[Application]\nname=org.example.App\n[Context]\n";
  EXPECT_EQ(identify("own.id", info), Identity("org.example.App", true));
}

class MicrophonePermissionTest : public ::testing::Test {
 protected:
  void makePermission(bool sandboxed) {
    permission = std::make_unique<MicrophonePermission>(
        time, MicrophonePermission::Options{
                  .identity = {.applicationId = "org.example.App", .sandboxed = sandboxed},
                  .busAddress = bus.address(),
                  .tryToRecord = [this] { ++tries; }});
  }
  bool comesTrue(auto&& condition) {
    return test::eventually([&] {
      time.runPending();
      QCoreApplication::processEvents();
      return condition();
    });
  }
  bool becomes(AuthorizationStatus status) {
    return comesTrue([&] { return permission->status() == status; });
  }

  test::PrivateBus bus;
  dispatch::SimulatedScheduler time;
  test::StandInPortal portal{bus.address()};
  int tries = 0;
  std::unique_ptr<MicrophonePermission> permission;
};

TEST_F(MicrophonePermissionTest, FollowsTheLockAndTheStoreOfAPortalThatStartsLater) {
  portal.lock(true);
  makePermission(false);
  ASSERT_TRUE(becomes(kAuthorized));
  portal.start();
  EXPECT_TRUE(becomes(kRestricted));
  portal.lock(false);
  portal.store("org.example.Other", {"no"});
  EXPECT_TRUE(becomes(kAuthorized)) << "another program's answer";
  portal.store("org.example.App", {"no"});
  EXPECT_TRUE(becomes(kDenied));
  portal.store("org.example.App", {"ask"});
  EXPECT_TRUE(becomes(kNotDetermined));
  portal.store("org.example.App", {"yes"});
  EXPECT_TRUE(becomes(kAuthorized));
}

TEST_F(MicrophonePermissionTest, APortalThatNeverAnswersIsIgnored) {
  portal.start();
  portal.setSilent();
  makePermission(false);
  EXPECT_TRUE(becomes(kAuthorized));
}

TEST_F(MicrophonePermissionTest, InASandboxAskingIsRecordingUntilThereIsAnAnswer) {
  portal.start();
  makePermission(true);
  bool answered = false;
  permission->requestAccess([&] { answered = true; });
  EXPECT_TRUE(comesTrue([&] { return tries == 1; }));
  time.advance(4s);
  EXPECT_EQ(tries, 3);
  EXPECT_FALSE(answered);
  EXPECT_EQ(permission->status(), kNotDetermined);

  permission->reportRecording(true);
  EXPECT_FALSE(answered) << "inside the call";
  EXPECT_TRUE(comesTrue([&] { return answered; }));
  EXPECT_EQ(permission->status(), kAuthorized);
  time.advance(10s);
  EXPECT_EQ(tries, 3);
}

TEST_F(MicrophonePermissionTest, ARefusalIsTriedAgain) {
  makePermission(false);
  ASSERT_TRUE(becomes(kAuthorized));
  permission->reportRecording(false);
  EXPECT_EQ(permission->status(), kDenied);
  time.advance(4s);
  EXPECT_EQ(tries, 2);
  permission->reportRecording(true);
  EXPECT_EQ(permission->status(), kAuthorized);
  time.advance(10s);
  EXPECT_EQ(tries, 2);
}

}  // namespace
}  // namespace quorin::desktop
