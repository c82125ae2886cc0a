#include "panel/panel_fixture.h"
#include "platform/dispatch/system_scheduler.h"
#include "support/eventually.h"

#include <QCoreApplication>
#include <thread>

namespace quorin::panel {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(NetworkUtils, NameTheRoutedAddressUnlessItsInterfaceIsDead) {
  using network::InterfaceAddress;
  const InterfaceAddress tunnel{"tun0", "10.8.0.2", true, true};
  const InterfaceAddress wired{"eth0", "192.168.1.2", true, true};
  const InterfaceAddress wireless{"wlan0", "192.168.2.2", true, true};
  const InterfaceAddress pulled{"eth1", "192.168.3.2", true, false};
  const struct {
    std::vector<InterfaceAddress> interfaces;
    std::optional<std::string> routed, shown;
  } rows[] = {
      {{wired, tunnel}, "10.8.0.2", "10.8.0.2"},
      {{tunnel, wireless, wired}, {}, "192.168.2.2"},
      {{pulled, wired}, "192.168.3.2", "192.168.1.2"},
      {{pulled, tunnel}, "192.168.3.2", {}},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(NetworkUtils::localAddress(row.interfaces, row.routed), row.shown);
  }
}

// What a phone sends, what it receives, and what the panel shows.
TEST_F(PanelServerTest, AnswersCountsAndSends) {
  const std::string ready = "<<READY>>";
  const std::string pong = "<<PONG>>";
  const std::string hello = "<<HELLO>>";
  const struct {
    const char* what;
    std::vector<std::string> says;
    std::vector<std::string> replies;
    std::size_t countShown;
    bool getsAudio;
  } exchanges[] = {
      {"HELLO: ready, and no format line", {hello}, {ready}, 1, true},
      {"HELLO twice", {hello, hello}, {ready, ready}, 1, true},
      {"HELLO wins over STOP", {"<<STOP>><<HELLO>>"}, {ready}, 1, true},
      {"PING from an unknown client: audio, but no count", {"<<PING>>"}, {pong}, 0, true},
      {"any text from an unknown client", {"good morning"}, {}, 0, true},
      {"STOP", {hello, "<<STOP>>"}, {ready}, 0, false},
      {"STOP wins over PING", {hello, "<<PING>><<STOP>>"}, {ready}, 0, false},
      {"STOP from an unknown client", {"<<STOP>>"}, {}, 0, false},
      {"a long text is cut", {std::string(1015, 'x') + hello + "ñ"}, {ready}, 1, true},
      {"to 1024 bytes", {std::string(1016, 'x') + hello}, {}, 0, true},
      {"with a NUL", {std::string("\0", 1) + hello}, {ready}, 1, true},
      {"nothing", {""}, {}, 0, false},
      {"not UTF-8", {hello + "\xC3\x28"}, {}, 0, false},
  };
  chunk_[881] = 1.5F;
  const std::string audio(reinterpret_cast<const char*>(chunk_.data()), sizeof chunk_);
  for (const auto& e : exchanges) {
    start();
    Phone phone(port_);
    for (const auto& text : e.says) says(phone, text);
    deliver();
    auto expected = e.replies;
    if (e.getsAudio) expected.push_back(audio);
    EXPECT_EQ(phone.hears(), expected) << e.what;
    EXPECT_EQ(shown().clientCount(), e.countShown) << e.what;
    stop();
  }
}

TEST_F(PanelServerTest, DropsAClientAfterMoreThanTenSecondsOfSilence) {
  start();
  Phone phones[] = {Phone(port_), Phone(port_), Phone(port_)};
  for (auto& phone : phones) says(phone, "<<HELLO>>");
  scheduler_.advance(4999ms);
  says(phones[1], "still here");
  scheduler_.advance(1ms);
  says(phones[2], "still here");
  std::vector<std::size_t> counts;
  for (int tick = 10; tick <= 20; tick += 5) {
    scheduler_.advance(5s);
    counts.push_back(shown().clientCount());
  }
  EXPECT_THAT(counts, ElementsAre(3, 1, 0)) << "exactly ten seconds at the tick stays";
  EXPECT_THAT(printed(), Contains("⚠️ Cliente inactivo: " + phones[1].key().text()));
}

// Chunks of silence are well-formed texts: the server would keep itself among its clients.
TEST_F(PanelServerTest, NeverListensToItself) {
  start();
  auto forger = network::DatagramSocket::open().value();
  ASSERT_FALSE(forger.connect({INADDR_LOOPBACK, port_}, {INADDR_LOOPBACK + 1, port_}));
  forger.send(std::as_bytes(std::span("<<HELLO>>")));
  Phone(port_).hears();  // waits for the delivery
  scheduler_.runPending();
  EXPECT_EQ(shown().clientCount(), 0U);
}

TEST_F(PanelServerTest, StaysBoundedWithManySenders) {
  start();
  int changes = 0;
  server_->setOnChanged([&] { ++changes; });
  for (unsigned number = 1; number <= 20'000; ++number) {
    const auto sender = client(number);
    sender.says("<<HELLO>>");
    if (number % 10 != 0) sender.says("<<STOP>>");
    if (number % 100 == 0) scheduler_.runPending();
  }
  EXPECT_LT(changes, 1000) << "one for each batch, not for each sender";
  EXPECT_EQ(shown().clientCount(), 2000U);
  stop();

  // A machine too slow for all of them: the capture goes on, and each client has its turn.
  start();
  std::vector<Phone> phones;
  for (int i = 0; i < 40; ++i) says(phones.emplace_back(port_), "any text");
  scheduler_.perReading = 1ms;
  deliver(8);
  for (auto& phone : phones) {
    const auto heard = phone.hears().size();
    EXPECT_TRUE(heard == 2 || heard == 3) << heard;
  }
}

TEST_F(PanelServerTest, StartsOnTheNextTurnAndStopTakesEverythingBack) {
  stop();  // before any start
  server_->start();
  EXPECT_FALSE(shown().isRunning);
  server_->start();  // again in the same turn: one run is left
  scheduler_.runPending();
  EXPECT_TRUE(shown().isRunning);

  Phone phone(port_);
  says(phone, "<<HELLO>>");
  deliver();
  scheduler_.advance(5s);
  EXPECT_GT(shown().kbps, 0);
  server_->stop();
  EXPECT_TRUE(shown().isRunning) << "until the next turn";
  scheduler_.runPending();
  EXPECT_FALSE(shown().isRunning);
  EXPECT_THAT(shown().connectedClients, IsEmpty());
  EXPECT_EQ(shown().kbps, 0);

  start();
  printed();
  server_.reset();
  EXPECT_FALSE(network::DatagramSocket::open()->bind(port_)) << "the port is free again";
  scheduler_.advance(1min);
  EXPECT_THAT(printed(), ElementsAre()) << "no timer is left";
}

TEST_F(PanelServerTest, ManyComeAndGoWhileChunksFlow) {
  const auto scheduler = dispatch::makeSystemScheduler();
  auto silent = parts();
  silent.print = [](std::string_view) {};
  server_ = std::make_unique<UDPAudioServer>(*scheduler, std::move(silent));
  const auto eventually = [](auto condition) {
    return test::eventually([&] {
      QCoreApplication::processEvents();
      return condition();
    });
  };
  const auto showsClients = [&](std::size_t count) {
    return eventually([&] { return shown().clientCount() == count; });
  };
  for (const bool stops : {true, false}) {
    server_->start();
    ASSERT_TRUE(eventually([&] { return shown().isRunning; }));
    const std::jthread flow([this, tap = engine_->tap](const std::stop_token& stop) {
      while (!stop.stop_requested()) {
        tap->deliver({.samples = chunk_, .format = {.sampleRate = 44100, .channels = 1}});
      }
    });
    std::vector<test::UdpPeer> phones;
    for (int i = 0; i < 100; ++i) phones.emplace_back(port_).says("<<HELLO>>");
    EXPECT_TRUE(showsClients(100));
    for (auto& phone : phones) {
      auto datagram = phone.hears();
      if (datagram == "<<READY>>") datagram = phone.hears();
      ASSERT_EQ(datagram.value_or("").size(), 3528U);
      phone.says("<<STOP>>");
    }
    EXPECT_TRUE(showsClients(0));
    phones[0].says("<<HELLO>>");
    EXPECT_TRUE(showsClients(1));
    if (!stops) return server_.reset();  // in the middle of it all
    server_->stop();
    EXPECT_TRUE(eventually([&] { return !shown().isRunning; }));
  }
}

}  // namespace
}  // namespace quorin::panel
