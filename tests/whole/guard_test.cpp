#include "core/identity.h"
#include "support/eventually.h"
#include "support/private_audio.h"
#include "support/private_bus.h"
#include "support/sine_fit.h"
#include "support/stand_in_portal.h"
#include "whole/whole_program.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <span>

/// The guard in front of real audio servers, whose devices change under the program.
namespace quorin::whole {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;

enum class Kind { kPulse, kPipeWire };

long long elapsedMs(std::chrono::steady_clock::time_point since) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                               since)
      .count();
}

class Guard : public ::testing::TestWithParam<Kind> {
 protected:
  static void SetUpTestSuite() {
    privateBus = std::make_unique<test::PrivateBus>();
    qputenv("DBUS_SESSION_BUS_ADDRESS", QByteArray::fromStdString(privateBus->address()));
    ASSERT_TRUE(QDBusConnection::sessionBus().isConnected());  // Qt keeps to it from now on
    // The program looks for its helper beside itself, else in the path.
    qputenv("PATH", qgetenv("QUORIN_BIN") + ":" + qgetenv("PATH"));
  }
  static void TearDownTestSuite() { privateBus.reset(); }

  void SetUp() override {
    const bool pulse = GetParam() == Kind::kPulse;
    if (!(pulse ? test::PrivatePulse::isInstalled() : test::PrivatePipeWire::isInstalled())) {
      GTEST_SKIP() << "no such audio server here";
    }
    if (pulse) {
      server_ = std::make_unique<test::PrivatePulse>();
    } else {
      server_ = std::make_unique<test::PrivatePipeWire>();
    }
    startServer();
    server_->useInThisProcess();
    ASSERT_TRUE(ip("address add 10.11.0.2/24 dev eth0"));
  }
  void TearDown() override { ip("address flush dev eth0"); }

  void startServer() {
    ASSERT_TRUE(server_->start()) << server_->output();
    ASSERT_TRUE(server_->addNullSink("quorin", "Quorin Audio 1", "norewinds=1"));
    ASSERT_TRUE(server_->addNullSink("quorin2", "Quorin Audio 2", "norewinds=1"));
    ASSERT_TRUE(server_->addNullSink("speaker", "Speaker"));
  }
  void useDevices(const std::string& output, const std::string& input) {
    ASSERT_TRUE(server_->setDefaultSink(output));
    ASSERT_TRUE(server_->setDefaultSource(input + ".monitor"));
  }

  inline static std::unique_ptr<test::PrivateBus> privateBus;
  std::unique_ptr<test::PrivateAudioServer> server_;
};

TEST_P(Guard, EndsAStreamWhoseDeviceGoesAndLetsThePersonBackToTheMenu) {
  useDevices("quorin", "quorin");
  auto player = server_->play({.seconds = 60, .sink = "quorin"});
  WholeProgram program(app::StartMode::kWiFi);
  ASSERT_TRUE(program.becomes("onlineContainer_"));
  const auto stream = [&] {
    for (int i = 0; i < 3; ++i) program.newPhone("10.11.0.2").says("<<HELLO>>");
    return program.until([&] {
      return std::ranges::all_of(program.phones, [](auto& phone) { return phone->chunks > 25; });
    });
  };
  ASSERT_TRUE(stream());

  // Another device of the right name is right.
  useDevices("quorin2", "quorin2");
  program.runFor(2500ms);
  ASSERT_TRUE(program.shows("onlineContainer_"));
  EXPECT_EQ(holdings().udpSockets, 1U);
  useDevices("quorin", "quorin");
  program.runFor(1500ms);

  useDevices("speaker", "quorin");
  ASSERT_TRUE(program.becomes("audioGuardView_", 2s));
  EXPECT_FALSE(program.shows("onlineContainer_"));
  EXPECT_FALSE(program.shows("backButton_"));
  EXPECT_EQ(holdings().udpSockets, 0U);
  program.runFor(100ms);  // what was on its way
  const auto heard = program.phones[0]->chunks;
  program.runFor(300ms);
  EXPECT_EQ(program.phones[0]->chunks, heard);

  useDevices("quorin", "quorin");
  ASSERT_TRUE(program.becomes("menuContainer_", 3s));
  program.phones.clear();
  const auto idle = holdings();
  program.click("menuOnlineButton_");
  ASSERT_TRUE(program.becomes("onlineQRImageView_"));
  ASSERT_TRUE(stream()) << "a second visit streams as the first";
  program.phones.clear();
  useDevices("speaker", "quorin");
  ASSERT_TRUE(program.becomes("audioGuardView_", 2s));
  useDevices("quorin", "quorin");
  ASSERT_TRUE(program.becomes("menuContainer_", 3s));
  program.runFor(200ms);
  EXPECT_EQ(holdings(), idle);
}

/// By ear: a program plays 440 Hz to the loudspeakers before anything is set up.
TEST_P(Guard, OneClickBringsWhatPlaysToAPhoneAndEveryEndGivesItBack) {
  server_->kill();
  ASSERT_TRUE(server_->start()) << server_->output();
  ASSERT_TRUE(server_->addNullSink("speaker", "Built-in"));
  useDevices("speaker", "speaker");
  auto player = server_->play({.seconds = 120, .sink = "speaker"});
  const auto hears440 = [](Phone& phone) {
    constexpr std::size_t kWindow = 4410;
    if (phone.sound.size() < kWindow) return false;
    const auto last = std::span(phone.sound).last(kWindow);
    return test::fitSine(last, 440, wire::kSampleRate).level > 0.2;
  };
  const auto isGivenBack = [&] {
    return test::eventually([&] { return server_->defaults() == "speaker speaker.monitor"; }, 2s);
  };

  {
    WholeProgram program(app::StartMode::kMenu);
    ASSERT_TRUE(program.becomes("audioGuardView_"));
    const auto click = std::chrono::steady_clock::now();
    program.click("audioGuardSetUpButton_");
    ASSERT_TRUE(program.becomes("menuContainer_", 3s)) << program.text("audioGuardSetUpNoteLabel_");
    std::printf("click to menu: %lld ms\n", elapsedMs(click));
    program.click("menuOnlineButton_");
    ASSERT_TRUE(program.becomes("onlineQRImageView_"));
    auto& phone = program.newPhone("10.11.0.2");
    phone.says("<<HELLO>>");
    EXPECT_TRUE(program.until([&] { return hears440(phone); }));

    ASSERT_TRUE(program.shows("playHereBox_"));
    program.click("playHereBox_");
    EXPECT_TRUE(program.until([&] { return server_->isPlaying("speaker"); }));
    program.click("playHereBox_");
    EXPECT_TRUE(program.until([&] { return !server_->isPlaying("speaker"); }));

    server_->kill();
    ASSERT_TRUE(program.becomes("audioGuardView_", 5s));
    ASSERT_TRUE(server_->start()) << server_->output();
    ASSERT_TRUE(server_->addNullSink("speaker", "Built-in"));
    ASSERT_TRUE(program.becomes("menuContainer_", 10s)) << "lent again by itself";
    player = server_->play({.seconds = 120, .sink = "speaker"});

    ASSERT_TRUE(server_->setDefaultSink("speaker"));
    ASSERT_TRUE(program.becomes("audioGuardView_", 2s)) << "the user's choice counts";
    program.click("audioGuardSetUpButton_");
    ASSERT_TRUE(program.becomes("menuContainer_", 3s));
  }
  EXPECT_TRUE(isGivenBack()) << server_->defaults();

  for (const int signal : {SIGTERM, SIGINT, SIGKILL}) {
    SCOPED_TRACE(signal);
    auto environment = server_->environment();
    environment.emplace_back("QT_QPA_PLATFORM=offscreen");
    const auto start = std::chrono::steady_clock::now();
    test::ChildProcess program(
        {.arguments = {std::string(std::getenv("QUORIN_BIN")) + "/quorin-stream", "--set-up",
                       "--start", "wifi"},
         .environment = environment,
         .output = {}});
    ASSERT_TRUE(test::eventually([] { return holdings().udpSockets == 1; }));
    std::printf("--set-up --start wifi to a served code: %lld ms\n", elapsedMs(start));
    Phone phone("10.11.0.2", WholeProgram::kPort);
    phone.says("<<HELLO>>");
    EXPECT_TRUE(test::eventually([&] {
      phone.turn();
      return hears440(phone);
    }));
    const auto end = std::chrono::steady_clock::now();
    ::kill(program.pid(), signal);
    EXPECT_TRUE(isGivenBack()) << server_->defaults();
    std::printf("signal %d to given back: %lld ms\n", signal, elapsedMs(end));
    program.wait();
    EXPECT_TRUE(test::eventually([&] { return server_->isPlaying("speaker"); }));
  }
}

TEST_P(Guard, SurvivesTheAudioServersDeathInMidStream) {
  useDevices("quorin", "quorin");
  WholeProgram program(app::StartMode::kWiFi);
  ASSERT_TRUE(program.becomes("onlineContainer_"));
  auto& phone = program.newPhone("10.11.0.2");
  phone.says("<<HELLO>>");
  ASSERT_TRUE(program.until([&] { return phone.chunks > 25; }));

  server_->kill();
  ASSERT_TRUE(program.becomes("audioGuardView_", 5s)) << "no server: no device is right";
  EXPECT_THAT(program.text("audioGuardStatusOutLabel_"), HasSubstr("(sin dispositivo)"));
  EXPECT_THAT(program.text("audioGuardTextLabel_"), HasSubstr("No sound server is running"));

  startServer();
  useDevices("quorin", "quorin");
  ASSERT_TRUE(program.becomes("menuContainer_"));
  program.click("menuOnlineButton_");
  auto& again = program.newPhone("10.11.0.2");
  ASSERT_TRUE(program.becomes("onlineQRImageView_"));
  again.says("<<HELLO>>");
  EXPECT_TRUE(program.until([&] { return again.chunks > 25; }));
}

TEST_P(Guard, GivesWayToTheMicrophoneScreenWhenThePermissionIsTakenAway) {
  test::StandInPortal portal(privateBus->address());
  portal.start();
  portal.store(app::kApplicationId, {"yes"});
  useDevices("speaker", "quorin");
  WholeProgram program(app::StartMode::kMenu);
  ASSERT_TRUE(program.becomes("audioGuardView_"));

  portal.store(app::kApplicationId, {"no"});
  EXPECT_TRUE(program.becomes("micDeniedView_", 2s)) << "at the poll's next tick";
  EXPECT_FALSE(program.shows("audioGuardView_"));

  portal.store(app::kApplicationId, {"yes"});
  EXPECT_TRUE(program.becomes("audioGuardView_", 2s)) << "the devices are still wrong";
  useDevices("quorin", "quorin");
  EXPECT_TRUE(program.becomes("menuContainer_", 3s));
}

INSTANTIATE_TEST_SUITE_P(On, Guard, ::testing::Values(Kind::kPulse, Kind::kPipeWire),
                         [](const auto& kind) {
                           return kind.param == Kind::kPulse ? "PulseAudio" : "PipeWire";
                         });

}  // namespace
}  // namespace quorin::whole
