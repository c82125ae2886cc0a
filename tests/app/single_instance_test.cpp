#include "app/single_instance.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

namespace quorin::app {
namespace {

constexpr auto kSecondStart = "--second-start";
constexpr int kExitFirst = 10;
constexpr int kExitSecond = 11;

/// A session bus of the test's own.
class PrivateBus {
 public:
  bool start() {
    if (QStandardPaths::findExecutable("dbus-daemon").isEmpty()) return false;
    daemon_.start("dbus-daemon", {"--session", "--nofork", "--print-address"});
    if (!daemon_.waitForStarted() || !daemon_.waitForReadyRead()) return false;
    qputenv("DBUS_SESSION_BUS_ADDRESS", daemon_.readLine().trimmed());
    return true;
  }
  ~PrivateBus() {
    daemon_.terminate();
    daemon_.waitForFinished();
  }

 private:
  QProcess daemon_;
};

int exitCodeOfSecondStart(const QString& activationToken) {
  QProcess second;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("XDG_ACTIVATION_TOKEN", activationToken);
  second.setProcessEnvironment(environment);
  second.start(QCoreApplication::applicationFilePath(), {kSecondStart});
  // The first instance answers on this thread's event loop.
  const bool ended =
      QTest::qWaitFor([&second] { return second.state() == QProcess::NotRunning; }, 10000);
  return ended ? second.exitCode() : -1;
}

TEST(SingleInstanceTest, WithoutABusEveryStartIsTheFirst) {
  const QByteArray bus = qgetenv("DBUS_SESSION_BUS_ADDRESS");
  const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
  qunsetenv("DBUS_SESSION_BUS_ADDRESS");
  qputenv("XDG_RUNTIME_DIR", "/nonexistent");
  SingleInstance first({});
  SingleInstance second({});
  EXPECT_TRUE(first.claim());
  EXPECT_TRUE(second.claim());
  if (!bus.isEmpty()) qputenv("DBUS_SESSION_BUS_ADDRESS", bus);
  runtime.isEmpty() ? qunsetenv("XDG_RUNTIME_DIR") : qputenv("XDG_RUNTIME_DIR", runtime);
}

TEST(SingleInstanceTest, ALaterStartAsksTheFirstForItsWindow) {
  PrivateBus bus;
  if (!bus.start()) GTEST_SKIP() << "no dbus-daemon here";
  QStringList tokens;
  {
    SingleInstance first([&tokens](const QString& token) { tokens << token; });
    ASSERT_TRUE(first.claim());
    EXPECT_EQ(exitCodeOfSecondStart("token-1"), kExitSecond);
    EXPECT_EQ(exitCodeOfSecondStart(""), kExitSecond);
    EXPECT_EQ(tokens, QStringList({"token-1", ""}));
  }
  EXPECT_EQ(exitCodeOfSecondStart(""), kExitFirst) << "the first has ended";
}

}  // namespace

int claimAsSecondStart() {
  SingleInstance instance({});
  return instance.claim() ? kExitFirst : kExitSecond;
}

}  // namespace quorin::app

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  if (QCoreApplication::arguments().contains(quorin::app::kSecondStart)) {
    return quorin::app::claimAsSecondStart();
  }
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
