#include "platform/desktop/microphone_permission.h"

#include "core/simulated_scheduler.h"
#include "support/eventually.h"
#include "support/private_bus.h"
#include "support/stand_in_portal.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

namespace quorin::desktop {
namespace {

using namespace std::chrono_literals;
using enum AuthorizationStatus;

class MicrophonePermissionTest : public ::testing::Test {
 protected:
  void makePermission(bool sandboxed, std::string busAddress) {
    permission = std::make_unique<MicrophonePermission>(
        time, MicrophonePermission::Options{
                  .identity = {.applicationId = "org.example.App", .sandboxed = sandboxed},
                  .busAddress = std::move(busAddress),
                  .tryToRecord = [this] { ++tries; }});
  }
  void makePermission(bool sandboxed) { makePermission(sandboxed, bus.address()); }
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

TEST_F(MicrophonePermissionTest, WithoutABusItIsAllowed) {
  makePermission(false, "unix:path=/nonexistent");
  bool answered = false;
  permission->requestAccess([&] { answered = true; });
  EXPECT_EQ(permission->status(), kNotDetermined);
  EXPECT_TRUE(comesTrue([&] { return answered; }));
  EXPECT_EQ(permission->status(), kAuthorized);
}

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
