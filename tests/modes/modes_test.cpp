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

// The two modes and the ways between them: real server, sender and sockets, on simulated time.
namespace quorin::app {
namespace {

using namespace std::chrono_literals;

/// Shows every key as itself, so that a test reads which text was chosen.
class KeyTable : public StringTable {
 public:
  QString text(const char* key, std::optional<int> n) const override {
    const auto name = QString::fromLatin1(key);
    if (n) return name + QStringLiteral("(%1)").arg(*n);
    if (name == "phone.listening") return name + "(%1, %2)";
    const auto entry = std::ranges::find(kTextKeys, std::string_view(key), &RegisteredKey::name);
    return entry->shape == Shape::kPattern ? name + "(%1)" : name;
  }
};

class FakeWindow : public WiFiPageView, public MenuView {
 public:
  enum class Front { kMenu, kWiFi, kCable };
  using Content = WiFiPage::Content;

  void openWiFiPage() override { front = Front::kWiFi; }
  void showWiFiPage(const WiFiPage& shown) override {
    page = shown;
    ++shows;
    if (page.content == Content::kMessage && onNetworkMessage)
      std::exchange(onNetworkMessage, nullptr)();
  }
  void presentMessage(const QString& text, bool) override { console.push_back(text.toStdString()); }
  void openMenuPage() override { front = Front::kMenu; }
  void openCablePage() override { front = Front::kCable; }
  void confirmStop(std::function<void()> stop) override { question = std::move(stop); }
  void showPrivacyTerms() override {}

  /// What the page says where one looks first.
  std::string headline() const {
    return (page.content == Content::kCode ? page.info : page.title).toStdString();
  }

  Front front = Front::kMenu;
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
  bool somebodyAnswers() {
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

using Front = FakeWindow::Front;
using Content = WiFiPage::Content;

TEST_F(ModesTest, ChoosingWiFiServesThePhonesThatScanTheCode) {
  choosesWiFi();
  EXPECT_EQ(window_.front, Front::kWiFi);
  EXPECT_EQ(window_.page.codeText.toStdString(), "192.168.7.20:" + std::to_string(port_));
  EXPECT_TRUE(window_.page.code);
  EXPECT_EQ(window_.headline(), "waiting_connection");

  auto first = joined();
  EXPECT_EQ(window_.headline(), "status.connected.one");
  const auto second = joined();
  EXPECT_EQ(window_.headline(), "status.connected.many(2)");
  for (int i = 0; i < 10; ++i) captures(0.5F);
  EXPECT_THAT(first.hears(), testing::Contains(wifi::datagramOf(16384)));

  ASSERT_THAT(window_.page.phones, testing::SizeIs(2));
  EXPECT_EQ(window_.page.phones[0].endpoint.toStdString(), first.key().text());
  EXPECT_THAT(window_.page.phones[0].description.toStdString(),
              testing::MatchesRegex("phone.listening\\(127.0.0.1, ..:..\\)"));
  wifi_.disconnectPhone(window_.page.phones[0].endpoint);
  time_.advance(200ms);
  ASSERT_THAT(window_.page.phones, testing::SizeIs(1));
  EXPECT_EQ(window_.page.phones[0].endpoint.toStdString(), second.key().text());

  const int shows = window_.shows;
  time_.advance(3s);
  EXPECT_EQ(window_.shows, shows) << "what stays as it is lays nothing out";
}

TEST_F(ModesTest, GoingBackEndsEverythingAndAsksFirstWhileSomebodyListens) {
  choosesWiFi();
  goesBack();
  EXPECT_FALSE(window_.question);
  EXPECT_EQ(window_.front, Front::kMenu);

  choosesWiFi();
  const auto phone = joined();
  goesBack();
  EXPECT_EQ(window_.front, Front::kWiFi) << "nothing happens before the answer";
  EXPECT_TRUE(somebodyAnswers());
  ASSERT_TRUE(window_.question);
  std::exchange(window_.question, nullptr)();
  time_.runPending();
  EXPECT_EQ(window_.front, Front::kMenu);
  EXPECT_FALSE(somebodyAnswers());
  EXPECT_FALSE(capture_.isCapturing());

  menu_.chooseOfflineMode();
  time_.runPending();
  EXPECT_EQ(window_.front, Front::kCable);
  EXPECT_TRUE(cable_.on);
  EXPECT_TRUE(capture_.isCapturing());
  cable_.channel = true;
  goesBack();
  ASSERT_TRUE(window_.question) << "a phone on the cable listens as well";
  menu_.chooseOnlineMode();
  EXPECT_FALSE(cable_.on);
}

TEST_F(ModesTest, WithoutANetworkThePageSaysSoAndServesOnceThereIsOne) {
  address_.reset();
  choosesWiFi();
  EXPECT_EQ(window_.headline(), "network.unavailable");
  EXPECT_FALSE(capture_.isCapturing());
  goesBack();
  address_ = "10.0.0.5";
  time_.advance(5s);
  EXPECT_EQ(window_.front, Front::kMenu) << "the watch has ended";
  EXPECT_FALSE(somebodyAnswers());

  address_.reset();
  choosesWiFi();
  address_ = "10.0.0.5";
  time_.advance(1200ms);
  EXPECT_EQ(window_.headline(), "waiting_connection");
  EXPECT_EQ(window_.page.codeText.toStdString(), "10.0.0.5:" + std::to_string(port_));
  EXPECT_TRUE(capture_.isCapturing());
  EXPECT_TRUE(somebodyAnswers());
}

TEST_F(ModesTest, ACaptureThatFailsIsTriedAgainWithoutKeepingMainWaiting) {
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
  EXPECT_EQ(starts, 0) << "nobody wants sound any more";
}

TEST_F(ModesTest, AnotherAddressIsDrawnAndBoundAndPhonesMustGreetAnew) {
  choosesWiFi();
  auto phone = joined();
  address_ = "192.168.7.99";
  time_.advance(1200ms);
  EXPECT_EQ(window_.page.codeText.toStdString(), "192.168.7.99:" + std::to_string(port_));
  EXPECT_EQ(window_.page.phones.size(), 0U);
  EXPECT_FALSE(cable_.on);
  EXPECT_FALSE(cable_.forcedOffline);

  auto again = joined();
  time_.advance(2200ms);  // the second binding, when the network has settled
  EXPECT_EQ(window_.page.phones.size(), 0U);
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
  EXPECT_EQ(window_.page.content, Content::kMessage) << "the page was drawn again";
}

TEST_F(ModesTest, ABusyPortIsSaidAndTriedAgainUntilItIsFree) {
  std::optional held = network::DatagramSocket::open().value();
  ASSERT_FALSE(held->bind(port_));
  holder_ = {.program = "python3", .user = "ana", .isOwnUser = true};
  choosesWiFi();
  EXPECT_EQ(window_.page.content, Content::kProblem);
  EXPECT_EQ(window_.headline(), "port.in_use(" + std::to_string(port_) + ")");
  EXPECT_EQ(window_.page.detail, "port.holder.program(python3)\nport.tries_again");
  time_.advance(9s);
  EXPECT_THAT(window_.console, testing::ElementsAre("udp.port.bind_failed"));
  EXPECT_FALSE(wifi_.isServerRunning());

  held.reset();
  time_.advance(2s);
  EXPECT_EQ(window_.page.content, Content::kCode);
  EXPECT_TRUE(somebodyAnswers());
}

TEST_F(ModesTest, AnotherPortServesAtOnce) {
  for (const char* typed : {"0", "abc", "65536"}) {
    wifi_.setPort(typed);
    choosesWiFi();
    EXPECT_EQ(window_.headline(), "Introduce un puerto válido") << typed;
    EXPECT_THAT(window_.console, testing::Contains("udp.port.invalid"));
    window_.console.clear();
    const auto port = window_.page.otherPort.value();
    wifi_.useOtherPort();
    EXPECT_EQ(window_.page.codeText.toStdString(), "192.168.7.20:" + std::to_string(port));
    EXPECT_EQ(window_.page.content, Content::kCode);
    EXPECT_TRUE(wifi_.isServerRunning());
    goesBack();
  }
}

TEST_F(ModesTest, WhyNothingListensDependsOnTheErrorAndTheHolder) {
  const struct {
    int error;
    network::PortHolder holder;
    const char* title;
    const char* detail;
  } cases[] = {
      {EADDRINUSE, {}, "port.in_use(80)", "port.holder.unknown\nport.tries_again"},
      {EADDRINUSE,
       {.program = "quorin-stream", .user = "me", .isOwnUser = true},
       "port.in_use(80)",
       "port.holder.other_session\nport.tries_again"},
      {EADDRINUSE,
       {.program = "quorin-stream", .user = "maria"},
       "port.in_use(80)",
       "port.holder.other_user(maria)\nport.tries_again"},
      {EACCES, {}, "port.not_permitted(80)", "port.not_permitted.advice\nport.tries_again"},
      {EMFILE, {}, "udp.port.bind_failed", "port.tries_again"},
  };
  for (const auto& [error, holder, title, detail] : cases) {
    WiFiState state;
    state.problem = ServerProblem{{wifi::StartFailure::Step::kBind, error, 80}, true, holder};
    const auto page = describe(state, texts_);
    EXPECT_EQ(page.title, title);
    EXPECT_EQ(page.detail, detail);
  }
}

TEST_F(ModesTest, ARefusedPhoneIsSaidWhileThePlacesAreTaken) {
  choosesWiFi();
  std::vector<wifi::Phone> phones;
  for (int i = 0; i < 10; ++i) phones.push_back(joined());
  EXPECT_EQ(window_.headline(), "status.connected.many(10)");
  wifi::Phone refused(port_);
  refused.says("<<HELLO>>");
  time_.advance(200ms);
  EXPECT_EQ(window_.headline(), "status.full");
  phones[0].says("<<STOP>>");
  time_.advance(200ms);
  EXPECT_EQ(window_.headline(), "status.connected.many(9)");
}

TEST_F(ModesTest, AnotherNetworkIsShownAndNobodyIsCutOff) {
  otherNetworks_ = {{"wlan0", "10.0.0.9"}};
  wifi_.chooseNetwork("10.0.0.77");  // not there
  choosesWiFi();
  EXPECT_EQ(window_.page.address, "192.168.7.20");
  EXPECT_THAT(window_.page.networks,
              testing::ElementsAre(NetworkChoice{"address.network.wired(eth0)", "192.168.7.20"},
                                   NetworkChoice{"address.network.wifi(wlan0)", "10.0.0.9"}));
  const auto phone = joined();
  wifi_.chooseNetwork("10.0.0.9");
  time_.advance(5s);
  EXPECT_EQ(window_.page.codeText.toStdString(), "10.0.0.9:" + std::to_string(port_));
  EXPECT_THAT(window_.page.phones, testing::SizeIs(1));
}

}  // namespace
}  // namespace quorin::app
