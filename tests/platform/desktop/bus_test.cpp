#include "platform/desktop/look.h"
#include "platform/desktop/notifier.h"
#include "platform/desktop/sleep_inhibitor.h"
#include "platform/desktop/tray.h"
#include "platform/dispatch/system_scheduler.h"
#include "platform/posix/file_descriptor.h"
#include "support/eventually.h"
#include "support/private_bus.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusUnixFileDescriptor>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <array>
#include <map>

namespace quorin::desktop {
namespace {

/// The desktop's notifications, its portal and logind, on a bus of their own.
class StandInDesktop : public QDBusVirtualObject {
 public:
  StandInDesktop() {
    for (const auto* bus : {"DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"}) {
      qputenv(bus, QByteArray::fromStdString(privateBus_.address()));
    }
    bus_ = QDBusConnection::connectToBus(QString::fromStdString(privateBus_.address()), "desktop");
    for (const auto* path : {kNotifications, "/org/freedesktop/portal/desktop",
                             "/org/freedesktop/login1", "/StatusNotifierWatcher"}) {
      bus_.registerVirtualObject(path, this, QDBusConnection::SubPath);
    }
    for (const auto* name : {"org.freedesktop.Notifications", "org.freedesktop.portal.Desktop",
                             "org.freedesktop.login1"}) {
      own(name);
    }
  }
  ~StandInDesktop() override { QDBusConnection::disconnectFromBus("desktop"); }

  QString introspect(const QString& /*path*/) const override { return {}; }
  bool handleMessage(const QDBusMessage& call, const QDBusConnection& bus) override {
    calls[call.interface().section('.', -1) + '.' + call.member()] = call;
    QVariantList answer;
    if (call.member() == "Notify") answer = {7U};
    if (call.member() == "ReadAll") {
      qDBusRegisterMetaType<QMap<QString, QVariantMap>>();
      answer = {QVariant::fromValue(QMap<QString, QVariantMap>{
          {"org.freedesktop.appearance", {{"contrast", 0U}}},
          {"org.gnome.desktop.a11y.interface", {{"high-contrast", true}}}})};
    }
    if (call.member() == "Get") answer = {QVariant::fromValue(QDBusVariant(hasPanel))};
    if (call.interface() == "org.freedesktop.login1.Manager") {
      std::array<int, 2> ends{};
      EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), 0);
      lock = posix::FileDescriptor(ends[0]);
      const posix::FileDescriptor given(ends[1]);
      answer = {QVariant::fromValue(QDBusUnixFileDescriptor(given.get()))};
    }
    return bus.send(call.createReply(answer));
  }
  void own(const QString& name) { bus_.registerService(name); }
  bool isLocked() const {
    char none = 0;
    return ::read(lock.get(), &none, 1) < 0;  // its end once the other end is closed
  }
  void emitSignal(const char* name, const QVariantList& arguments) {
    emitSignal(kNotifications, "org.freedesktop.Notifications", name, arguments);
  }
  void emitSignal(const char* path, const char* interface, const char* name,
                  const QVariantList& arguments) {
    auto signal = QDBusMessage::createSignal(path, interface, name);
    signal.setArguments(arguments);
    bus_.send(signal);
  }

  std::map<QString, QDBusMessage> calls;  ///< the latest of each
  posix::FileDescriptor lock;
  bool hasPanel = false;

 private:
  static constexpr auto kNotifications = "/org/freedesktop/Notifications";

  test::PrivateBus privateBus_;
  QDBusConnection bus_{QString()};
};

bool comesTrue(auto&& condition) {
  return test::eventually([&] {
    QCoreApplication::processEvents();
    return condition();
  });
}

// One test for all: Qt keeps to the first bus that a process talks to.
TEST(Bus, FollowsTheDesktopAndTheInhibitorLetsGo) {
  StandInDesktop desktop;
  QStringList chosen;
  Notifier notifier(
      [&](const QString& action, const QString& token) { chosen << action << token; });
  const auto& notified = desktop.calls["Notifications.Notify"];
  notifier.show("summary", "body", {"quit", "Quit"});
  ASSERT_TRUE(comesTrue([&] { return notified.arguments().value(3) == "summary"; }));
  EXPECT_EQ(notified.arguments().value(1), 0U);
  EXPECT_TRUE(comesTrue([&] {  // its number is known once the answer is here
    notifier.show("summary", "body", {});
    return notified.arguments().value(1) == 7U;
  }));
  desktop.emitSignal("ActionInvoked", {8U, "quit"});  // another program's
  desktop.emitSignal("ActivationToken", {7U, "token"});
  desktop.emitSignal("ActionInvoked", {7U, "quit"});
  EXPECT_TRUE(comesTrue([&] { return !chosen.isEmpty(); }));
  EXPECT_EQ(chosen, QStringList({"quit", "token"}));
  notifier.withdraw();
  EXPECT_TRUE(comesTrue([&] { return desktop.calls.contains("Notifications.CloseNotification"); }));

  int appeared = 0;
  const auto tray = watchTray([&] { ++appeared; });
  const auto* const watcher = "org.kde.StatusNotifierWatcher";
  desktop.own(watcher);
  EXPECT_TRUE(comesTrue([&] { return desktop.calls.contains("Properties.Get"); }));
  EXPECT_EQ(appeared, 0);
  desktop.hasPanel = true;
  desktop.emitSignal("/StatusNotifierWatcher", watcher, "StatusNotifierHostRegistered", {});
  EXPECT_TRUE(comesTrue([&] { return appeared == 1; })) << "the panel starts later";

  Look look;
  const auto settings = watchLook([&](const Look& now) { look = now; });
  EXPECT_TRUE(comesTrue([&] { return look.highContrast; })) << "either setting is enough";
  const struct {
    const char* key;
    QVariant value;
    bool highContrast;
    double textScale;
  } changes[] = {{"contrast", 1U, true, 1},
                 {"high-contrast", false, true, 1},
                 {"text-scaling-factor", 1.5, true, 1.5},
                 {"contrast", 0U, false, 1.5}};
  for (const auto& [key, value, highContrast, textScale] : changes) {
    desktop.emitSignal("/org/freedesktop/portal/desktop", "org.freedesktop.portal.Settings",
                       "SettingChanged", {"space", key, QVariant::fromValue(QDBusVariant(value))});
    EXPECT_TRUE(comesTrue([&] {
      return look.highContrast == highContrast && look.textScale == textScale;
    })) << key;
  }

  const auto scheduler = dispatch::makeSystemScheduler();
  SleepInhibitor inhibitor(scheduler->backgroundQueue(), "why");
  for (int i = 0; i < 2; ++i) {
    desktop.calls.clear();
    inhibitor.hold(true);
    ASSERT_TRUE(comesTrue([&] { return desktop.calls.contains("Manager.Inhibit"); }));
    EXPECT_EQ(desktop.calls["Manager.Inhibit"].arguments(),
              QVariantList({"idle", "Quorin Stream", "why", "block"}));
    EXPECT_EQ(desktop.calls["Inhibit.Inhibit"].arguments().value(1), 4U);
    EXPECT_TRUE(desktop.isLocked());
    inhibitor.hold(false);
    EXPECT_TRUE(comesTrue([&] { return !desktop.isLocked(); }));
    EXPECT_TRUE(comesTrue([&] { return desktop.calls.contains("Request.Close"); }));
    EXPECT_TRUE(desktop.calls["Request.Close"].path().endsWith("/quorin"));
  }
  scheduler->end();
}

}  // namespace
}  // namespace quorin::desktop
