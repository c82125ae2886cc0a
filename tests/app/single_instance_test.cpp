#include "app/single_instance.h"

#include "support/child_process.h"
#include "support/private_bus.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QTest>
#include <string>

namespace quorin::app {
namespace {

constexpr auto kSecondStart = "--second-start";
constexpr int kExitFirst = 10;
constexpr int kExitSecond = 11;

int exitCodeOfSecondStart(const char* activationToken) {
  test::ChildProcess second(
      {.arguments = {QCoreApplication::applicationFilePath().toStdString(), kSecondStart},
       .environment = {std::string("XDG_ACTIVATION_TOKEN=") + activationToken},
       .output = {}});
  // The first instance answers on this thread's event loop.
  const bool ended = QTest::qWaitFor([&second] { return !second.isRunning(); }, 10000);
  return ended ? second.wait() : -1;
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
  if (!test::PrivateBus::isInstalled()) GTEST_SKIP() << "no dbus-daemon here";
  const test::PrivateBus bus;
  qputenv("DBUS_SESSION_BUS_ADDRESS", QByteArray::fromStdString(bus.address()));
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
