#include "platform/desktop/microphone_permission.h"

#include "platform/dispatch/simulated_scheduler.h"
#include "support/private_bus.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QMap>
#include <QStringList>

namespace quorin::desktop {
namespace {

using namespace std::chrono_literals;
using enum AuthorizationStatus;

const QString kStoreName = "org.freedesktop.impl.portal.PermissionStore";
const QString kStorePath = "/org/freedesktop/impl/portal/PermissionStore";
const QString kDesktopName = "org.freedesktop.impl.portal.desktop.gnome";
const QString kDesktopPath = "/org/freedesktop/portal/desktop";

/// The desktop's portal as this program sees it: the permission store and the lock.
class StandInPortal : public QDBusVirtualObject {
 public:
  explicit StandInPortal(const std::string& address)
      : bus_(QDBusConnection::connectToBus(QString::fromStdString(address), "portal")) {
    qDBusRegisterMetaType<QMap<QString, QStringList>>();
    bus_.registerVirtualObject(kStorePath, this);
    bus_.registerVirtualObject(kDesktopPath, this);
  }
  ~StandInPortal() override { QDBusConnection::disconnectFromBus("portal"); }

  void start() {
    bus_.registerService(kStoreName);
    bus_.registerService(kDesktopName);
  }
  void store(const QString& applicationId, const QStringList& permission) {
    permissions_[applicationId] = permission;
    auto changed = QDBusMessage::createSignal(kStorePath, kStoreName, "Changed");
    changed << "devices"
            << "microphone" << false << QVariant::fromValue(QDBusVariant(0))
            << QVariant::fromValue(permissions_);
    bus_.send(changed);
  }
  void lock(bool locked) {
    locked_ = locked;
    auto changed = QDBusMessage::createSignal(kDesktopPath, "org.freedesktop.DBus.Properties",
                                              "PropertiesChanged");
    changed << "org.freedesktop.impl.portal.Lockdown" << QVariantMap{{"disable-microphone", locked}}
            << QStringList{};
    bus_.send(changed);
  }
  void setSilent() { silent_ = true; }

  QString introspect(const QString& /*path*/) const override { return {}; }

  bool handleMessage(const QDBusMessage& call, const QDBusConnection& bus) override {
    if (silent_) {
      call.setDelayedReply(true);
      return true;
    }
    if (call.member() == "Lookup" && call.arguments() == QVariantList{"devices", "microphone"}) {
      if (permissions_.isEmpty()) {
        return bus.send(call.createErrorReply("org.freedesktop.portal.Error.NotFound", "none"));
      }
      return bus.send(call.createReply(
          {QVariant::fromValue(permissions_), QVariant::fromValue(QDBusVariant(0))}));
    }
    if (call.member() == "Get" && call.arguments().value(1) == "disable-microphone") {
      return bus.send(call.createReply(QVariant::fromValue(QDBusVariant(locked_))));
    }
    return false;
  }

 private:
  QDBusConnection bus_;
  QMap<QString, QStringList> permissions_;
  bool locked_ = false;
  bool silent_ = false;
};

class MicrophonePermissionTest : public ::testing::Test {
 protected:
  void makePermission(bool sandboxed) {
    permission = std::make_unique<MicrophonePermission>(
        time, MicrophonePermission::Options{
                  .identity = {.applicationId = "org.example.App", .sandboxed = sandboxed},
                  .busAddress = bus.address(),
                  .tryToRecord = [this] { ++tries; }});
  }
  template <typename Condition>
  bool comesTrue(Condition condition) {
    QElapsedTimer waited;
    waited.start();
    while (!condition() && waited.elapsed() < 10000) {
      time.runPending();
      QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
    }
    return condition();
  }
  bool becomes(AuthorizationStatus status) {
    return comesTrue([&] { return permission->status() == status; });
  }

  test::PrivateBus bus;
  dispatch::SimulatedScheduler time;
  StandInPortal portal{bus.address()};
  int tries = 0;
  std::unique_ptr<MicrophonePermission> permission;
};

TEST_F(MicrophonePermissionTest, WithoutPortalAndSandboxItIsAllowed) {
  makePermission(false);
  EXPECT_EQ(permission->status(), kNotDetermined);
  EXPECT_TRUE(becomes(kAuthorized));
}

TEST_F(MicrophonePermissionTest, WithoutABusItIsAllowed) {
  permission = std::make_unique<MicrophonePermission>(
      time, MicrophonePermission::Options{
                .identity = {}, .busAddress = "unix:path=/nonexistent", .tryToRecord = [] {}});
  EXPECT_TRUE(becomes(kAuthorized));
}

TEST_F(MicrophonePermissionTest, FollowsTheStore) {
  portal.start();
  portal.store("org.example.Other", {"no"});
  makePermission(false);
  EXPECT_TRUE(becomes(kAuthorized)) << "another program's answer";
  portal.store("org.example.App", {"no"});
  EXPECT_TRUE(becomes(kDenied));
  portal.store("org.example.App", {"ask"});
  EXPECT_TRUE(becomes(kNotDetermined));
  portal.store("org.example.App", {"yes"});
  EXPECT_TRUE(becomes(kAuthorized));
}

TEST_F(MicrophonePermissionTest, FollowsTheLock) {
  portal.start();
  portal.lock(true);
  makePermission(false);
  EXPECT_TRUE(becomes(kRestricted));
  portal.lock(false);
  EXPECT_TRUE(becomes(kAuthorized));
}

TEST_F(MicrophonePermissionTest, APortalThatStartsLaterIsHeard) {
  portal.lock(true);  // nobody hears of it yet
  makePermission(false);
  ASSERT_TRUE(becomes(kAuthorized));
  portal.start();
  EXPECT_TRUE(becomes(kRestricted));
}

TEST_F(MicrophonePermissionTest, APortalThatNeverAnswersHoldsNobodyUp) {
  portal.start();
  portal.setSilent();
  makePermission(false);
  EXPECT_TRUE(becomes(kAuthorized));
}

TEST_F(MicrophonePermissionTest, InASandboxAskingIsRecording) {
  portal.start();
  makePermission(true);
  bool answered = false;
  permission->requestAccess([&] { answered = true; });
  EXPECT_TRUE(comesTrue([&] { return tries == 1; }));
  EXPECT_FALSE(answered);
  EXPECT_EQ(permission->status(), kNotDetermined);

  permission->reportRecording(RecordAccess::kGranted);
  EXPECT_FALSE(answered) << "inside the call";
  EXPECT_TRUE(comesTrue([&] { return answered; }));
  EXPECT_EQ(permission->status(), kAuthorized);
  EXPECT_EQ(tries, 1);
}

TEST_F(MicrophonePermissionTest, AnAnswerInTheStoreAnswersTheQuestionToo) {
  portal.start();
  makePermission(true);
  bool answered = false;
  permission->requestAccess([&] { answered = true; });
  ASSERT_TRUE(comesTrue([&] { return tries == 1; }));
  portal.store("org.example.App", {"no"});
  EXPECT_TRUE(comesTrue([&] { return answered; }));
  EXPECT_EQ(permission->status(), kDenied);
}

TEST_F(MicrophonePermissionTest, WhereNobodyNeedBeAskedTheAnswerIsThereAtOnce) {
  makePermission(false);
  bool answered = false;
  permission->requestAccess([&] { answered = true; });
  EXPECT_TRUE(comesTrue([&] { return answered; }));
  EXPECT_EQ(permission->status(), kAuthorized);
  EXPECT_EQ(tries, 0);
}

TEST_F(MicrophonePermissionTest, ARefusalIsPutToTheTestAgain) {
  makePermission(false);
  ASSERT_TRUE(becomes(kAuthorized));
  permission->reportRecording(RecordAccess::kRefused);
  EXPECT_EQ(permission->status(), kDenied);
  time.advance(4s);
  EXPECT_EQ(tries, 2);
  permission->reportRecording(RecordAccess::kGranted);
  EXPECT_EQ(permission->status(), kAuthorized);
  time.advance(10s);
  EXPECT_EQ(tries, 2);
}

}  // namespace
}  // namespace quorin::desktop

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
