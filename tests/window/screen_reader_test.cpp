#include "support/child_process.h"
#include "support/private_bus.h"
#include "ui/qr_code.h"
#include "window/window_fixture.h"

#include <QAccessible>
#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <cstdio>

/// What reaches a screen reader, read from the accessibility bus as one would.
namespace quorin::app {
namespace {

constexpr auto kProperties = "org.freedesktop.DBus.Properties";

/// Calls are answered by this very thread, so none waits for its answer.
class Reader : public QObject {
  Q_OBJECT
 public:
  explicit Reader(const QString& bus) : bus_(QDBusConnection::connectToBus(bus, "reader")) {
    for (const char* signal : {"StateChanged", "Announcement"}) {
      bus_.connect({}, {}, "org.a11y.atspi.Event.Object", signal, this, SLOT(take(QDBusMessage)));
    }
    for (const char* event : {"object:state-changed", "object:announcement"}) {
      auto call =
          QDBusMessage::createMethodCall("org.a11y.atspi.Registry", "/org/a11y/atspi/registry",
                                         "org.a11y.atspi.Registry", "RegisterEvent");
      bus_.call(call << QString(event) << QStringList() << QString());
    }
  }

  /// Takes `text` off what has been said; waits for it.
  bool says(const QString& text) {
    const bool heard = QTest::qWaitFor([&] { return said.contains(text); });
    said.clear();
    return heard;
  }

  QStringList said;  ///< announcements, and names of what got the focus

 private slots:
  void take(const QDBusMessage& event) {
    const auto what = event.arguments().value(0).toString();
    if (event.member() == "Announcement") {
      said << event.arguments().value(3).value<QDBusVariant>().variant().toString();
      return;
    }
    const bool isOn = event.arguments().value(1).toInt() == 1;
    if (!isOn || (what != "showing" && what != "focused")) return;
    const auto take = [this, what](const QString& role, const QString& name) {
      if (what == "focused" || role == "notification") said << name;
    };
    auto askRole = QDBusMessage::createMethodCall(event.service(), event.path(),
                                                  "org.a11y.atspi.Accessible", "GetRoleName");
    auto askName =
        QDBusMessage::createMethodCall(event.service(), event.path(), kProperties, "Get");
    askName << "org.a11y.atspi.Accessible" << "Name";
    const QDBusPendingCall name = bus_.asyncCall(askName);
    auto* const role = new QDBusPendingCallWatcher(bus_.asyncCall(askRole), this);
    connect(role, &QDBusPendingCallWatcher::finished, this, [=] {
      take(role->reply().arguments().value(0).toString(),
           name.reply().arguments().value(0).value<QDBusVariant>().variant().toString());
    });
  }

 private:
  QDBusConnection bus_;
};

class ScreenReaderTest : public WindowFixture {
 protected:
  static QString accessibilityBus() {
    auto call = QDBusMessage::createMethodCall("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus",
                                               "GetAddress");
    return QDBusConnection::sessionBus().call(call).arguments().value(0).toString();
  }
  void SetUp() override {
    ASSERT_TRUE(QTest::qWaitFor([] { return QAccessible::isActive(); }));
    QTest::qWait(100);  // the bridge has heard of the reader
  }

  Reader reader_{accessibilityBus()};
};

TEST_F(ScreenReaderTest, EntersPagesHearsNewsAndReadsTheCode) {
  show(menu());
  EXPECT_TRUE(reader_.says(texts_.tr("menu.header")));

  const auto page = [](const QString& info) {
    return WiFiPage{.info = info,
                    .codeText = "192.168.1.20:9000",
                    .code = generateQRCodeFromString("192.168.1.20:9000", 300)};
  };
  pages_.showWiFiPage(page("Waiting"));
  pages_.open(Page::kWifi);
  EXPECT_TRUE(reader_.says(texts_.tr("cards.online.title") + ". Waiting"));
  pages_.showWiFiPage(page("1 phone connected"));
  EXPECT_TRUE(reader_.says("1 phone connected")) << "a phone has joined";
  views_.onlineQRImageView_->setFocus();
  EXPECT_TRUE(reader_.says("Copy address 192.168.1.20:9000"));

  pages_.showWiFiPage({.content = WiFiPage::Content::kMessage, .title = "No network"});
  EXPECT_TRUE(reader_.says("No network"));
  pages_.apply({.guard = true, .textKey = "audio.guard.text.in", .output = {}, .input = {}});
  EXPECT_TRUE(reader_.says(texts_.tr("audio.guard.title") + ". " +
                           texts_.tr("audio.guard.text.in") + ". " +
                           texts_.tr("audio.guard.setup.note")));
  pages_.apply({.guard = true,
                .textKey = "audio.guard.text.in",
                .output = {},
                .input = {},
                .setUpFailureKey = "audio.guard.setup.refused"});
  EXPECT_TRUE(reader_.says(texts_.tr("audio.guard.setup.refused")));
  pages_.apply({});
  pages_.open(Page::kCable);
  pages_.showCable({.connected = true});
  EXPECT_TRUE(reader_.says(texts_.tr("usb.connected")));
}

}  // namespace
}  // namespace quorin::app

int main(int argc, char** argv) {
  using quorin::test::ChildProcess;
  const std::string launcher = "/usr/libexec/at-spi-bus-launcher";
  if (!std::filesystem::exists(launcher) || !quorin::test::hasProgram("Xvfb") ||
      !quorin::test::PrivateBus::isInstalled()) {
    std::puts("skipped: needs the packages at-spi2-core, xvfb and dbus");
    return 77;  // what CTest takes for skipped
  }
  const quorin::test::PrivateBus bus;
  const quorin::test::TemporaryDirectory folder;
  const auto told = folder.path() / "display";
  const ChildProcess display(
      {.arguments = {"Xvfb", "-displayfd", "1", "-screen", "0", "1280x1024x24"},
       .environment = {},
       .output = told});
  // Xvfb complains of each display that is taken before it tells its own.
  bool isTold = false;
  quorin::test::eventually([&] {
    const auto lines =
        QByteArray::fromStdString(quorin::test::contentOf(told)).trimmed().split('\n');
    lines.last().toInt(&isTold);
    qputenv("DISPLAY", ":" + lines.last());
    return isTold;
  });
  qputenv("DBUS_SESSION_BUS_ADDRESS", QByteArray::fromStdString(bus.address()));
  qputenv("QT_QPA_PLATFORM", "xcb");
  qputenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1");
  const ChildProcess accessibility(
      {.arguments = {launcher, "--launch-immediately"}, .environment = {}, .output = {}});
  quorin::test::eventually([] {
    return QDBusConnection::sessionBus().interface()->isServiceRegistered("org.a11y.Bus");
  });
  const QApplication application(argc, argv);
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}

#include "screen_reader_test.moc"
