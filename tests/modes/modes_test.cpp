#include "modes/menu.h"
#include "modes/sound_path.h"
#include "ui/texts.h"
#include "modes/wifi_mode.h"
#include "audio/fake_engine.h"
#include "core/simulated_scheduler.h"
#include "wifi/wifi_fixture.h"

#include <gmock/gmock.h>

#include <functional>
#include <memory>

// The two modes and the ways between them: real server, sender and sockets, on simulated time.
namespace quorin::app {
namespace {

using namespace std::chrono_literals;
using testing::IsEmpty;

/// Shows every key as itself, so that a test reads which text was chosen.
class KeyTable : public StringTable {
 public:
  QString text(const char* key, std::optional<int> n) const override {
    return n ? QStringLiteral("%1(%2)").arg(key).arg(*n) : QString::fromLatin1(key);
  }
};

class FakeWindow : public WiFiPageView, public MenuView {
 public:
  enum class Front { kMenu, kWiFi, kCable };

  void openWiFiPage() override { front = Front::kWiFi; }
  void showWiFiPage(const WiFiPage& shown) override {
    page = shown;
    if (page.networkMessage && onNetworkMessage) std::exchange(onNetworkMessage, nullptr)();
  }
  void presentMessage(const QString& text, bool) override { console.push_back(text.toStdString()); }
  void openMenuPage() override { front = Front::kMenu; }
  void openCablePage() override { front = Front::kCable; }
  void confirmStop(std::function<void()> stop) override { question = std::move(stop); }
  void showPrivacyTerms() override {}

  /// What the page says where a person looks first.
  std::string headline() const {
    return (page.networkMessage ? page.title : page.info).toStdString();
  }

  Front front = Front::kMenu;
  WiFiPage page;
  std::vector<std::string> console;
  std::function<void()> question;
  std::function<void()> onNetworkMessage;  ///< once
};

class FakeCableSwitch : public CableSwitch {
 public:
  void turnOn() override { on = true; }
  void turnOff() override { on = channel = false; }
  bool hasChannel() const override { return channel; }

  bool on = false;
  bool channel = false;
};

class ModesTest : public testing::Test {
 protected:
  ModesTest() { wifi_.setPort(QString::number(port_)); }

  void choosesWiFi() {
    menu_.chooseOnlineMode();
    time_.runPending();
  }
  void goesBack() {
    menu_.goBack();
    time_.runPending();
  }
  void captures(float sample) {
    const std::vector<float> block(882, sample);
    engine_->deliver({.samples = block, .format = engine_->format});
    time_.advance(20ms);
  }
  wifi::Phone joined() {
    wifi::Phone phone(port_);
    phone.says("<<HELLO>>");
    time_.runPending();
    EXPECT_THAT(phone.hears(), testing::SizeIs(2));
    return phone;
  }
  bool somebodyAnswers() {
    wifi::Phone phone(port_);
    phone.says("<<PING>>");
    time_.runPending();
    return phone.hears() == std::vector<std::string>{"<<PONG>>"};
  }

  const std::uint16_t port_ = wifi::freePort();
  dispatch::SimulatedScheduler time_;
  std::optional<std::string> address_ = "192.168.7.20";
  KeyTable table_;
  Texts texts_{table_, {}};
  FakeWindow window_;
  FakeCableSwitch cable_;
  wifi::FakeCable cableSink_;
  std::unique_ptr<test::FakeEngine> newEngine_ = std::make_unique<test::FakeEngine>();
  test::FakeEngine* engine_ = newEngine_.get();  // the capture's own
  std::vector<std::string> captureLog_;
  audio::AudioCaptureManager capture_{
      time_,
      {.makeEngine = [this] { return std::move(newEngine_); },
       .makeConverter = audio::makeSampleConverter,
       .print = [this](std::string_view line) { captureLog_.emplace_back(line); }}};
  wifi::WifiTransport transport_;
  std::unique_ptr<dispatch::SerialQueue> queue_ = stream::AudioSender::makeQueue(time_);
  stream::AudioSender sender_{time_, *queue_, {&transport_, &cableSink_}};
  SoundPath sound_{time_, capture_, sender_};
  WiFiMode wifi_{time_, {texts_, sound_, sender_, transport_, cable_, window_,
                          [this] { return address_; }}};
  Menu menu_{time_, {wifi_, cable_, sound_, window_}};

  void SetUp() override {
    engine_->format = {.sampleRate = 44100, .channels = 1};
    sound_.setOnSilence([this](bool) { wifi_.onSilence(); });
  }
};

using Front = FakeWindow::Front;

TEST_F(ModesTest, ChoosingWiFiServesThePhoneThatScansTheCode) {
  choosesWiFi();
  EXPECT_EQ(window_.front, Front::kWiFi);
  EXPECT_EQ(window_.page.codeText.toStdString(), "192.168.7.20:" + std::to_string(port_));
  EXPECT_TRUE(window_.page.code);
  EXPECT_EQ(window_.headline(), "waiting_connection");

  auto phone = joined();
  EXPECT_EQ(window_.headline(), "status.connected.one");
  auto second = joined();
  EXPECT_EQ(window_.headline(), "status.connected.many(2)");
  EXPECT_EQ(window_.page.clients, 2U);
  for (int i = 0; i < 10; ++i) captures(0.5F);
  EXPECT_THAT(phone.hears(), testing::Contains(wifi::datagramOf(16384)));

  phone.says("<<STOP>>");
  second.says("<<STOP>>");
  time_.runPending();
  EXPECT_EQ(window_.headline(), "waiting_connection");
}

TEST_F(ModesTest, GoingBackEndsEverythingAndAsksFirstWhileSomebodyListens) {
  choosesWiFi();
  auto phone = joined();
  goesBack();
  EXPECT_EQ(window_.front, Front::kWiFi) << "nothing happens before the answer";
  EXPECT_TRUE(somebodyAnswers());
  ASSERT_TRUE(window_.question);

  window_.question();
  time_.runPending();
  EXPECT_EQ(window_.front, Front::kMenu);
  EXPECT_FALSE(somebodyAnswers());
  EXPECT_FALSE(capture_.isCapturing());
  time_.advance(5s);
  EXPECT_EQ(window_.front, Front::kMenu) << "the watch has ended too";
}

TEST_F(ModesTest, GoingBackAsksNobodyWhenNobodyListens) {
  choosesWiFi();
  goesBack();
  EXPECT_FALSE(window_.question);
  EXPECT_EQ(window_.front, Front::kMenu);

  menu_.chooseOfflineMode();
  time_.runPending();
  EXPECT_EQ(window_.front, Front::kCable);
  EXPECT_TRUE(cable_.on);
  EXPECT_TRUE(capture_.isCapturing());
  cable_.channel = true;
  goesBack();
  EXPECT_TRUE(window_.question) << "a phone on the cable listens as well";
}

TEST_F(ModesTest, WhateverLeavesTheCableModeTurnsTheCableOff) {
  const struct {
    const char* name;
    std::function<void()> leave;
  } cases[] = {
      {"back to the menu", [this] { goesBack(); }},
      {"the Wi-Fi mode", [this] { menu_.chooseOnlineMode(); }},
      {"a change of the devices", [this] { menu_.stopAllSessions(); }},
  };
  for (const auto& row : cases) {
    menu_.chooseOfflineMode();
    time_.runPending();
    ASSERT_TRUE(cable_.on) << row.name;
    row.leave();
    time_.runPending();
    EXPECT_FALSE(cable_.on) << row.name;
  }
}

TEST_F(ModesTest, AModeThatIsLeftBeforeItsPageOpensStaysClosed) {
  menu_.chooseOnlineMode();
  menu_.stopAllSessions();  // the guard came up in between
  time_.advance(3s);
  EXPECT_EQ(window_.front, Front::kMenu);
  EXPECT_FALSE(somebodyAnswers());
  EXPECT_FALSE(capture_.isCapturing());
}

TEST_F(ModesTest, WithoutANetworkThePageSaysSoAndServesOnceThereIsOne) {
  address_.reset();
  choosesWiFi();
  EXPECT_EQ(window_.headline(), "network.unavailable");
  EXPECT_FALSE(capture_.isCapturing());

  address_ = "10.0.0.5";
  time_.advance(1200ms);
  EXPECT_EQ(window_.headline(), "waiting_connection");
  EXPECT_EQ(window_.page.codeText.toStdString(), "10.0.0.5:" + std::to_string(port_));
  EXPECT_TRUE(capture_.isCapturing());
  EXPECT_TRUE(somebodyAnswers());
}

TEST_F(ModesTest, ANetworkThatComesAfterGoingBackOpensNothing) {
  address_.reset();
  choosesWiFi();
  goesBack();
  address_ = "10.0.0.5";
  time_.advance(10s);
  EXPECT_EQ(window_.front, Front::kMenu);
  EXPECT_FALSE(somebodyAnswers());
}

TEST_F(ModesTest, AnotherAddressIsDrawnAndBoundAndPhonesMustGreetAnew) {
  choosesWiFi();
  auto phone = joined();
  address_ = "192.168.7.99";
  time_.advance(1200ms);
  EXPECT_EQ(window_.page.codeText.toStdString(), "192.168.7.99:" + std::to_string(port_));
  EXPECT_EQ(window_.page.clients, 0U);
  EXPECT_FALSE(cable_.on);

  auto again = joined();
  time_.advance(2200ms);  // the second binding, when the network has settled
  EXPECT_EQ(window_.page.clients, 0U);
  EXPECT_EQ(window_.headline(), "waiting_connection");
  EXPECT_TRUE(somebodyAnswers());

  address_.reset();
  time_.advance(1200ms);
  EXPECT_EQ(window_.headline(), "network.unavailable");
}

TEST_F(ModesTest, APageStepThatIsDueWhenTheModeIsLeftDoesNothing) {
  choosesWiFi();
  address_ = "192.168.7.99";
  // The message stands right before the step that would show the code again is posted.
  window_.onNetworkMessage = [this] {
    time_.mainQueue().async([this] { menu_.stopAllSessions(); });
  };
  time_.advance(10s);
  EXPECT_FALSE(window_.onNetworkMessage) << "there was no such step";
  EXPECT_FALSE(somebodyAnswers());
  EXPECT_TRUE(window_.page.networkMessage) << "the page was drawn again";
}

TEST_F(ModesTest, ANetworkThatChangesBehindAnotherPageBringsNothingToTheFront) {
  choosesWiFi();
  window_.front = Front::kMenu;
  address_ = "192.168.7.99";
  time_.advance(10s);
  EXPECT_EQ(window_.page.codeText.toStdString(), "192.168.7.99:" + std::to_string(port_));
  EXPECT_EQ(window_.front, Front::kMenu);
}

TEST_F(ModesTest, AnAudioServerThatStaysSilentKeepsMainWaitingForATenthOfTheTime) {
  int starts = 0;
  engine_->startFailure = "the audio server does not answer";
  engine_->onStart = [&] {
    ++starts;
    time_.jump(500ms, 500ms);
  };
  choosesWiFi();
  time_.advance(50s);
  EXPECT_GE(starts, 9);
  EXPECT_LE(starts, 11);
}

TEST_F(ModesTest, WhatKeepsTheServerFromStartingIsSaidOnThePageUntilItStarts) {
  for (const char* port : {"0", "abc", "65536"}) {
    wifi_.setPort(port);
    choosesWiFi();
    EXPECT_EQ(window_.headline(), "Introduce un puerto válido") << port;
    EXPECT_THAT(window_.console, testing::Contains("udp.port.invalid"));
    window_.console.clear();
    goesBack();
  }

  WiFiMode other(time_, {texts_, sound_, sender_, transport_, cable_, window_,
                          [this] { return address_; }});
  other.setPort(QString::number(port_));
  other.enter();
  wifi_.setPort(QString::number(port_));
  choosesWiFi();
  EXPECT_EQ(window_.headline(), "udp.port.bind_failed");
  EXPECT_FALSE(wifi_.isServerRunning());
  EXPECT_TRUE(window_.page.code) << "the code is drawn all the same";
  goesBack();
  other.leave();

  choosesWiFi();
  EXPECT_EQ(window_.headline(), "waiting_connection");
  EXPECT_TRUE(somebodyAnswers());
}

TEST_F(ModesTest, AStreamWithoutSoundIsSaidAndTakenBack) {
  choosesWiFi();
  for (int i = 0; i < 300; ++i) captures(0.0F);
  EXPECT_EQ(window_.headline(), "status.silent");
  for (int i = 0; i < 50; ++i) captures(0.1F);
  EXPECT_EQ(window_.headline(), "waiting_connection");
}

TEST_F(ModesTest, ACaptureThatDidNotStartIsTriedAgainWhileSoundIsWanted) {
  engine_->startFailure = "gone";
  choosesWiFi();
  time_.advance(3s);
  EXPECT_FALSE(capture_.isCapturing());
  engine_->startFailure.reset();
  time_.advance(1s);
  EXPECT_TRUE(capture_.isCapturing());

  goesBack();
  engine_->calls.clear();
  time_.advance(5s);
  EXPECT_THAT(engine_->calls, IsEmpty()) << "nobody wants sound any more";
}

}  // namespace
}  // namespace quorin::app
