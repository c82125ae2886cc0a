#include "support/eventually.h"
#include "support/private_bus.h"
#include "whole/whole_test.h"

#include <gmock/gmock.h>

#include <QDBusConnection>
#include <csignal>
#include <cstdlib>

/// The guard in front of real audio servers, whose devices change under the program.
namespace quorin::whole {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;

class Guard : public WholeTest {
 protected:
  static void SetUpTestSuite() {
    privateBus = std::make_unique<test::PrivateBus>();
    qputenv("DBUS_SESSION_BUS_ADDRESS", QByteArray::fromStdString(privateBus->address()));
    ASSERT_TRUE(QDBusConnection::sessionBus().isConnected());  // Qt keeps to it from now on
    // The program looks for its helper beside itself, else in the path.
    qputenv("PATH", QByteArray::fromStdString(test::builtPrograms()) + ":" + qgetenv("PATH"));
  }
  static void TearDownTestSuite() { privateBus.reset(); }

  /// Three phones that receive sound.
  void stream() {
    program_->phones.clear();
    for (int i = 0; i < 3; ++i) join();
  }
  /// A server with nothing but the wrong device, into which a program plays.
  void startBareServer() {
    ASSERT_TRUE(server_->start()) << server_->output();
    ASSERT_TRUE(server_->addNullSink("speaker", "Built-in"));
    player_ = server_->play({.seconds = 120, .sink = "speaker"});
  }
  bool isGivenBack() const {
    return test::eventually([&] { return server_->defaults() == "speaker speaker.monitor"; }, 2s);
  }

  inline static std::unique_ptr<test::PrivateBus> privateBus;
  test::ChildProcess player_;
};

TEST_P(Guard, EndsAStreamWhoseDeviceOrServerGoesAndLetsTheUserBackToTheMenu) {
  start(app::StartMode::kWiFi, "onlineContainer_");
  stream();
  useDevice("quorin2");
  program_->runFor(2500ms);
  ASSERT_TRUE(program_->shows("onlineContainer_")) << "another device of the right name is right";
  EXPECT_EQ(holdings().udpSockets, 1U);

  ASSERT_TRUE(server_->setDefaultSink("speaker"));
  ASSERT_TRUE(program_->becomes("audioGuardView_", 2s));
  EXPECT_FALSE(program_->shows("onlineContainer_"));
  EXPECT_FALSE(program_->shows("backButton_"));
  EXPECT_EQ(holdings().udpSockets, 0U);
  program_->runFor(100ms);  // what was on its way
  const auto heard = program_->phones[0]->arrivals.size();
  program_->runFor(300ms);
  EXPECT_EQ(program_->phones[0]->arrivals.size(), heard);

  useDevice("quorin");
  ASSERT_TRUE(program_->becomes("menuContainer_", 3s));
  program_->click("menuOnlineButton_");
  ASSERT_TRUE(program_->becomes("onlineQRImageView_"));
  stream();
  server_->kill();
  ASSERT_TRUE(program_->becomes("audioGuardView_", 5s));
  EXPECT_THAT(program_->text("audioGuardStatusOutLabel_"), HasSubstr("(sin dispositivo)"));
  EXPECT_THAT(program_->text("audioGuardTextLabel_"), HasSubstr("No sound server is running"));

  ASSERT_TRUE(server_->start()) << server_->output();
  addDevices();
  ASSERT_TRUE(program_->becomes("menuContainer_"));
  program_->click("menuOnlineButton_");
  ASSERT_TRUE(program_->becomes("onlineQRImageView_"));
  stream();
}

/// By ear: a program plays 440 Hz to the loudspeakers before anything is set up.
TEST_P(Guard, OneClickBringsWhatPlaysToAPhoneAndEveryEndGivesItBack) {
  server_->kill();
  startBareServer();
  useDevice("speaker");
  start(app::StartMode::kMenu, "audioGuardView_");
  program_->click("audioGuardSetUpButton_");
  ASSERT_TRUE(program_->becomes("menuContainer_", 3s))
      << program_->text("audioGuardSetUpNoteLabel_");
  program_->click("menuOnlineButton_");
  ASSERT_TRUE(program_->becomes("onlineQRImageView_"));
  auto& phone = join();
  EXPECT_TRUE(program_->until([&] { return phone.level(440, 5) > 0.2; }));

  ASSERT_TRUE(program_->shows("playHereBox_"));
  for (const int loopbacks : {1, 0}) {
    program_->click("playHereBox_");
    EXPECT_TRUE(program_->until([&] { return server_->playbacksOn("speaker") == loopbacks; }));
  }

  server_->kill();
  ASSERT_TRUE(program_->becomes("audioGuardView_", 5s));
  startBareServer();
  ASSERT_TRUE(program_->becomes("menuContainer_", 10s)) << "lent again by itself";
  ASSERT_TRUE(server_->setDefaultSink("speaker"));
  ASSERT_TRUE(program_->becomes("audioGuardView_", 2s)) << "the user's choice counts";
  program_->click("audioGuardSetUpButton_");
  ASSERT_TRUE(program_->becomes("menuContainer_", 3s));
  program_.reset();
  EXPECT_TRUE(isGivenBack()) << server_->defaults();

  for (const int signal : {SIGTERM, SIGKILL}) {
    SCOPED_TRACE(signal);
    test::ChildProcess program(
        {.arguments = {test::builtPrograms() + "/quorin-stream", "--set-up", "--start", "wifi"},
         .environment = server_->environment(),
         .output = {}});
    ASSERT_TRUE(test::eventually([] { return holdings().udpSockets == 1; }));
    Phone outside("10.11.0.2");
    outside.says("<<HELLO>>");
    EXPECT_TRUE(test::eventually([&] {
      outside.turn();
      return outside.level(440, 5) > 0.2;
    }));
    ::kill(program.pid(), signal);
    EXPECT_TRUE(isGivenBack()) << server_->defaults();
    program.wait();
    EXPECT_TRUE(test::eventually([&] { return server_->playbacksOn("speaker") == 1; }));
  }
}

INSTANTIATE_TEST_SUITE_P(On, Guard, test::kBothServers, serverName);

}  // namespace
}  // namespace quorin::whole
