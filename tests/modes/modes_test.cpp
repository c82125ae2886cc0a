#include "audio/fake_engine.h"
#include "core/simulated_scheduler.h"
#include "modes/menu.h"
#include "modes/sound_path.h"
#include "modes/wifi_mode.h"
#include "ui/texts.h"
#include "wifi/wifi_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <memory>

// The modes and the switches between them: real server, sender and sockets, in simulated time.
namespace quorin::app {
namespace {

using namespace std::chrono_literals;

class FakeWindow : public ModesWindow {
 public:
  using Content = WiFiPage::Content;

  void open(Page opened) override { front = opened; }
  void showWiFiPage(const WiFiPage& shown) override {
    page = shown;
    ++shows;
    if (page.content == Content::kMessage && onNetworkMessage)
      std::exchange(onNetworkMessage, nullptr)();
  }
  void presentMessage(const QString& text, bool) override { console.push_back(text.toStdString()); }
  void confirmStop(std::function<void()> stop) override { question = std::move(stop); }

  /// The most prominent line of the page.
  QString headline() const { return page.content == Content::kCode ? page.info : page.title; }

  Page front = Page::kMenu;
  WiFiPage page;
  int shows = 0;
  std::vector<std::string> console;
  std::function<void()> question;
  std::function<void()> onNetworkMessage;  ///< once
};

class FakeCableSwitch : public CableSwitch {
 public:
  void turnOn() override { on = true; }
  void turnOff() override {
    on = channel = false;
    forcedOffline = true;
  }
  void clearForcedOffline() override { forcedOffline = false; }
  bool hasChannel() const override { return channel; }

  bool on = false;
  bool forcedOffline = false;
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
    time_.advance(200ms);
    EXPECT_THAT(phone.hears(), testing::SizeIs(2));
    return phone;
  }
  bool serverAnswers() {
    wifi::Phone phone(port_);
    phone.says("<<PING>>");
    time_.runPending();
    return phone.hears() == std::vector<std::string>{"<<PONG>>"};
  }

  const std::uint16_t port_ = wifi::freePort();
  dispatch::SimulatedScheduler time_;
  std::optional<std::string> address_ = "192.168.7.20";
  std::vector<wifi::Candidate> otherNetworks_;
  network::PortHolder holder_;
  Texts texts_{{"en"}};
  FakeWindow window_;
  FakeCableSwitch cable_;
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
  stream::AudioSender sender_{time_, *queue_, {&transport_}};
  SoundPath sound_{time_, capture_, sender_};
  WiFiMode wifi_{time_,
                 {texts_, sound_, sender_, transport_, cable_, window_,
                  [this] {
                    auto all = otherNetworks_;
                    if (address_) all.insert(all.begin(), {"eth0", *address_});
                    return wifi::LocalNetworks{.candidates = all, .subnets = {}};
                  },
                  [this](const wifi::StartFailure& failure) {
                    return ServerProblem{failure, true, holder_, wifi::freePort()};
                  }}};
  Menu menu_{time_, {wifi_, cable_, sound_, window_}};

  void SetUp() override { engine_->format = {.sampleRate = 44100, .channels = 1}; }
};

using Content = WiFiPage::Content;

TEST_F(ModesTest, ChoosingWiFiServesThePhonesThatScanTheCode) {
  choosesWiFi();
  EXPECT_EQ(window_.front, Page::kWifi);
  EXPECT_EQ(window_.page.codeText.toStdString(), "192.168.7.20:" + std::to_string(port_));
  EXPECT_TRUE(window_.page.code);
  EXPECT_EQ(window_.headline(), texts_.tr("waiting_connection"));

  auto first = joined();
  EXPECT_EQ(window_.headline(), texts_.tr("status.connected.one"));
  const auto second = joined();
  EXPECT_EQ(window_.headline(), texts_.tr("status.connected.many", 2));
  for (int i = 0; i < 10; ++i) captures(0.5F);
  EXPECT_THAT(first.hears(), testing::Contains(testing::SizeIs(2 * wire::kChunkFrames)));

  ASSERT_THAT(window_.page.phones, testing::SizeIs(2));
  EXPECT_EQ(window_.page.phones[0].endpoint.toStdString(), first.key().text());
  EXPECT_THAT(window_.page.phones[0].description.toStdString(),
              testing::MatchesRegex("127.0.0.1, .*..:.."));
  wifi_.disconnectPhone(window_.page.phones[0].endpoint);
  time_.advance(200ms);
  ASSERT_THAT(window_.page.phones, testing::SizeIs(1));
  EXPECT_EQ(window_.page.phones[0].endpoint.toStdString(), second.key().text());

  const int shows = window_.shows;
  time_.advance(3s);
  EXPECT_EQ(window_.shows, shows) << "an unchanged page is not laid out again";
}

TEST_F(ModesTest, GoingBackEndsEverythingAndAsksFirstWhilePhonesListen) {
  choosesWiFi();
  goesBack();
  EXPECT_FALSE(window_.question);
  EXPECT_EQ(window_.front, Page::kMenu);

  choosesWiFi();
  const auto phone = joined();
  goesBack();
  EXPECT_EQ(window_.front, Page::kWifi) << "nothing happens before the answer";
  EXPECT_TRUE(serverAnswers());
  ASSERT_TRUE(window_.question);
  std::exchange(window_.question, nullptr)();
  time_.runPending();
  EXPECT_EQ(window_.front, Page::kMenu);
  EXPECT_FALSE(serverAnswers());
  EXPECT_FALSE(capture_.isCapturing());

  menu_.chooseOfflineMode();
  time_.runPending();
  EXPECT_EQ(window_.front, Page::kCable);
  EXPECT_TRUE(cable_.on);
  EXPECT_TRUE(capture_.isCapturing());
  cable_.channel = true;
  goesBack();
  ASSERT_TRUE(window_.question) << "a phone on the cable counts as well";
  menu_.chooseOnlineMode();
  EXPECT_FALSE(cable_.on);
}

TEST_F(ModesTest, WithoutANetworkThePageSaysSoAndTheServerStartsOnceThereIsOne) {
  address_.reset();
  choosesWiFi();
  EXPECT_EQ(window_.headline(), texts_.tr("network.unavailable"));
  EXPECT_FALSE(capture_.isCapturing());
  goesBack();
  address_ = "10.0.0.5";
  time_.advance(5s);
  EXPECT_EQ(window_.front, Page::kMenu) << "the watch has ended";
  EXPECT_FALSE(serverAnswers());

  address_.reset();
  choosesWiFi();
  address_ = "10.0.0.5";
  time_.advance(1200ms);
  EXPECT_EQ(window_.headline(), texts_.tr("waiting_connection"));
  EXPECT_EQ(window_.page.codeText.toStdString(), "10.0.0.5:" + std::to_string(port_));
  EXPECT_TRUE(capture_.isCapturing());
  EXPECT_TRUE(serverAnswers());
}

TEST_F(ModesTest, AFailingCaptureIsRetriedWithoutBlockingTheMainQueue) {
  int starts = 0;
  engine_->startFailure = "the audio server does not answer";
  engine_->onStart = [&] {
    ++starts;
    time_.jump(500ms, 500ms);
  };
  choosesWiFi();
  time_.advance(50s);
  EXPECT_GE(starts, 9);
  EXPECT_LE(starts, 11) << "a tenth of the time";
  engine_->startFailure.reset();
  time_.advance(6s);
  EXPECT_TRUE(capture_.isCapturing());
  goesBack();
  starts = 0;
  time_.advance(10s);
  EXPECT_EQ(starts, 0) << "the mode was left";
}

TEST_F(ModesTest, ANewAddressIsShownAndDropsThePhones) {
  choosesWiFi();
  auto phone = joined();
  address_ = "192.168.7.99";
  time_.advance(1200ms);
  EXPECT_EQ(window_.page.codeText.toStdString(), "192.168.7.99:" + std::to_string(port_));
  EXPECT_EQ(window_.page.phones.size(), 0U);
  EXPECT_FALSE(cable_.on);
  EXPECT_FALSE(cable_.forcedOffline);

  auto again = joined();
  time_.advance(2200ms);  // the network has settled, and the clients are dropped again
  EXPECT_EQ(window_.page.phones.size(), 0U);
  EXPECT_EQ(window_.headline(), texts_.tr("waiting_connection"));
  EXPECT_TRUE(serverAnswers());

  address_.reset();
  time_.advance(1200ms);
  EXPECT_EQ(window_.headline(), texts_.tr("network.unavailable"));
}

TEST_F(ModesTest, LeavingTheModeCancelsAPostedPageStep) {
  choosesWiFi();
  address_ = "192.168.7.99";
  // The message is shown just before the step that would show the code again is posted.
  window_.onNetworkMessage = [this] {
    time_.mainQueue().async([this] { menu_.stopAllSessions(); });
  };
  time_.advance(10s);
  EXPECT_FALSE(window_.onNetworkMessage) << "there was no such step";
  EXPECT_FALSE(serverAnswers());
  EXPECT_EQ(window_.page.content, Content::kMessage) << "the page was drawn again";
}

TEST_F(ModesTest, ABusyPortIsShownAndRetriedUntilItIsFree) {
  std::optional held = network::DatagramSocket::open().value();
  ASSERT_FALSE(held->bind(port_));
  holder_ = {.program = "python3", .user = "ana", .isOwnUser = true};
  choosesWiFi();
  EXPECT_EQ(window_.page.content, Content::kProblem);
  EXPECT_EQ(window_.headline(), texts_.tr("port.in_use", QString::number(port_)));
  EXPECT_EQ(window_.page.detail, texts_.tr("port.holder.program", QString("python3")) + u'\n' +
                                     texts_.tr("port.tries_again"));
  time_.advance(9s);
  EXPECT_THAT(window_.console,
              testing::ElementsAre(texts_.tr("udp.port.bind_failed").toStdString()));
  EXPECT_FALSE(wifi_.isServerRunning());

  held.reset();
  time_.advance(2s);
  EXPECT_EQ(window_.page.content, Content::kCode);
  EXPECT_TRUE(serverAnswers());
}

TEST_F(ModesTest, AnotherPortServesAtOnce) {
  for (const char* typed : {"0", "-1", "abc", "65536 ", "99999999999999999999"}) {
    wifi_.setPort(typed);
    choosesWiFi();
    EXPECT_EQ(window_.headline(), "Introduce un puerto válido") << typed;
    EXPECT_THAT(window_.console, testing::Contains(texts_.tr("udp.port.invalid").toStdString()));
    window_.console.clear();
    const auto port = window_.page.otherPort.value();
    if (QString(typed) == "abc") {
      wifi_.setPort(QString(" +%1 x").arg(port));
    } else {
      wifi_.useOtherPort();
    }
    EXPECT_EQ(window_.page.codeText.toStdString(), "192.168.7.20:" + std::to_string(port));
    EXPECT_EQ(window_.page.content, Content::kCode);
    EXPECT_TRUE(wifi_.isServerRunning());
    goesBack();
  }
}

TEST_F(ModesTest, ChoosingANetworkDropsNoPhone) {
  otherNetworks_ = {{"wlan0", "10.0.0.9"}};
  wifi_.chooseNetwork("10.0.0.77");  // not there
  choosesWiFi();
  EXPECT_EQ(window_.page.address, "192.168.7.20");
  EXPECT_THAT(window_.page.networks,
              testing::ElementsAre(
                  NetworkChoice{"Wired (eth0)", "192.168.7.20"},
                  NetworkChoice{texts_.tr("address.network.wifi", QString("wlan0")), "10.0.0.9"}));
  const auto phone = joined();
  otherNetworks_.push_back({"eth1", "10.0.0.77"});
  time_.advance(2s);
  EXPECT_EQ(window_.page.codeText.toStdString(), "10.0.0.77:" + std::to_string(port_));
  wifi_.chooseNetwork("10.0.0.9");
  time_.advance(5s);
  EXPECT_EQ(window_.page.codeText.toStdString(), "10.0.0.9:" + std::to_string(port_));
  EXPECT_THAT(window_.page.phones, testing::SizeIs(1));
}

}  // namespace
}  // namespace quorin::app
