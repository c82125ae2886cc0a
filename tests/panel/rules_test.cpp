#include "audio/fake_engine.h"
#include "panel/panel_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace quorin::panel {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

struct Exchange {
  const char* what;
  std::vector<std::string> says;  // by the client at port 5
  std::vector<std::string> replies;
  int countShown;
  bool getsAudio;
};

TEST_F(PanelServerTest, AnswersCountsAndSends) {
  const std::string ready = "<<READY>>";
  const std::string pong = "<<PONG>>";
  const Exchange exchanges[] = {
      {"HELLO: ready, and no format line", {"<<HELLO>>"}, {ready}, 1, true},
      {"HELLO with something around it", {"x<<HELLO>>\n"}, {ready}, 1, true},
      {"HELLO twice", {"<<HELLO>>", "<<HELLO>>"}, {ready, ready}, 1, true},
      {"HELLO wins over STOP", {"<<STOP>><<HELLO>>"}, {ready}, 1, true},
      {"PING from an unknown key: audio, but no count", {"<<PING>>"}, {pong}, 0, true},
      {"any text from an unknown key", {"good morning"}, {}, 0, true},
      {"lower case is any text", {"<<hello>>"}, {}, 0, true},
      {"STOP", {"<<HELLO>>", "<<STOP>>"}, {ready}, 0, false},
      {"STOP wins over PING", {"<<HELLO>>", "<<PING>><<STOP>>"}, {ready}, 0, false},
      {"STOP from an unknown key", {"<<STOP>>"}, {}, 0, false},
      {"back again", {"<<HELLO>>", "<<STOP>>", "<<PING>>"}, {ready, pong}, 0, true},
  };
  for (const auto& e : exchanges) {
    start();
    for (const auto& text : e.says) clientSays(5, text);
    deliver();
    EXPECT_EQ(socket_->sent[5].replies, e.replies) << e.what;
    EXPECT_EQ(socket_->sent[5].chunks, e.getsAudio ? 1 : 0) << e.what;
    EXPECT_EQ(shown().clientCount, e.countShown) << e.what;
    stop();
  }
}

TEST_F(PanelServerTest, DropsAClientAfterMoreThanTenSecondsOfSilence) {
  start();
  clientSays(1, "<<HELLO>>");
  clientSays(2, "<<HELLO>>");
  clientSays(3, "<<HELLO>>");
  scheduler_.advance(4999ms);
  clientSays(2, "still here");
  scheduler_.advance(1ms);
  clientSays(3, "still here");
  std::vector<int> counts;
  for (int tick = 10; tick <= 20; tick += 5) {
    scheduler_.advance(5s);
    counts.push_back(shown().clientCount);
  }
  EXPECT_THAT(counts, ElementsAre(3, 1, 0)) << "exactly ten seconds at the tick stays";
  EXPECT_THAT(printed(), Contains("⚠️ Cliente inactivo: 10.0.0.1:2"));
}

TEST_F(PanelServerTest, StaysBoundedWithManySenders) {
  start();
  int changes = 0;
  server_->setOnChanged([&] { ++changes; });
  for (int port = 1; port <= 20'000; ++port) {
    socket_->receive("<<HELLO>>", keyOf(port));
    if (port % 10 != 0) socket_->receive("<<STOP>>", keyOf(port));
  }
  scheduler_.runPending();
  EXPECT_LE(changes, 2) << "one notice at a time";
  EXPECT_EQ(shown().clientCount, 2000);

  // A machine too slow for all of them: the capture goes on, and everybody has a turn.
  socket_->duringSend = [this] { scheduler_.advance(20us); };
  deliver(4);
  for (int port = 10; port <= 20'000; port += 10) {
    EXPECT_THAT(socket_->sent[port].chunks, ::testing::AllOf(::testing::Ge(1), ::testing::Le(2)));
  }
  EXPECT_EQ(socket_->sent[1].chunks, 0);
}

TEST_F(PanelServerTest, RatesCountEachChunkThatSomebodyGetsOnce) {
  start();
  deliver(100);
  clientSays(1, "<<HELLO>>");
  clientSays(2, "<<PING>>");
  printed();
  for (int i = 0; i < 250; ++i) {
    scheduler_.advance(20ms);
    if (i < 249) deliver();
  }
  EXPECT_DOUBLE_EQ(shown().rates.packetsPerSecond, 249 / 5.0);
  EXPECT_DOUBLE_EQ(shown().rates.kbps, 249 * 3528 * 8 / 5.0 / 1024);
  EXPECT_THAT(printed(), ElementsAre("📊 49.8 pkt/s | 1372.6 Kbps | Clientes: 2"));
  scheduler_.advance(5s);
  EXPECT_EQ(shown().rates.packetsPerSecond, 0) << "counted anew in every period";
  deliver(10);
  stop();
  scheduler_.advance(1h);
  start();
  scheduler_.advance(5s);
  EXPECT_DOUBLE_EQ(shown().rates.packetsPerSecond, 2) << "what the last run left";
}

TEST_F(PanelServerTest, AFailedStartSaysWhyAndMayBeTriedAgain) {
  startFailure_ = SocketError{-2, "No se pudo hacer bind", std::errc::address_in_use};
  for (int attempt = 0; attempt < 2; ++attempt) {
    server_->start();
    EXPECT_THAT(printed().back(), HasSubstr("servidor: UDPSocket (-2): No se pudo hacer bind"));
    EXPECT_THAT(shown().startFailure, HasSubstr("El puerto 9000 está ocupado"));
    scheduler_.advance(6s);
    EXPECT_FALSE(shown().isRunning);
    EXPECT_EQ(capture_, nullptr);
  }
  startFailure_.reset();
  start();
  EXPECT_TRUE(shown().isRunning);
  EXPECT_EQ(shown().startFailure, "");
}

TEST_F(PanelServerTest, StartsOnTheNextTurnAndStopTakesEverythingBack) {
  stop();  // before any start
  server_->start();
  EXPECT_FALSE(shown().isRunning);
  EXPECT_THAT(printed(), Contains("🔌 Escuchando en 0.0.0.0:9000"));
  server_->start();  // again in the same turn: one run is left
  scheduler_.runPending();
  EXPECT_TRUE(shown().isRunning);

  clientSays(1, "<<HELLO>>");
  deliver();
  scheduler_.advance(5s);
  socket_->receive("<<HELLO>>", keyOf(2));  // its notice is pending
  socket_->duringSend = [this] { server_->stop(); };
  deliver();  // stopped by what it does
  EXPECT_TRUE(shown().isRunning) << "until the next turn";
  scheduler_.runPending();
  EXPECT_FALSE(shown().isRunning || socket_->open);
  EXPECT_THAT(shown().connectedClients, IsEmpty());
  EXPECT_EQ(shown().clientCount, 0);
  EXPECT_EQ(shown().rates.kbps, 0);
  printed();

  start();
  const auto lateChunk = capture_->deliver;
  const std::weak_ptr<FakeSocket> released = std::exchange(socket_, nullptr);
  server_.reset();
  EXPECT_TRUE(released.expired()) << "and with it its port";
  lateChunk(wire::AudioChunk{});
  scheduler_.advance(1min);
  EXPECT_THAT(printed(), IsEmpty()) << "no timer is left";
}

TEST(Capture, IsTriedAgainUntilItRunsAndNotOnceStopped) {
  dispatch::SimulatedScheduler scheduler;
  auto owned = std::make_unique<test::FakeEngine>();
  auto& engine = *owned;
  const auto capture = makeCapture(scheduler, {.makeEngine = [&owned] { return std::move(owned); },
                                               .makeConverter = audio::makeSampleConverter,
                                               .print = [](std::string_view) {}});
  const auto startsAfter = [&](dispatch::Duration time) {
    engine.calls.clear();
    scheduler.advance(time);
    return std::ranges::count(engine.calls, "start");
  };
  engine.startFailure = "no server";
  capture->startCapture();
  EXPECT_EQ(startsAfter(3s), 3);
  engine.startFailure.reset();
  EXPECT_EQ(startsAfter(10s), 1) << "it runs";
  capture->stopCapture();
  EXPECT_EQ(startsAfter(10s), 0);
}

TEST(NetworkUtils, WithoutARouteAConnectedInterfaceTellsItsLastAddress) {
  std::vector<network::InterfaceAddress> interfaces = {{"tun0", "10.8.0.2", true, true, {}},
                                                       {"eth0", "10.0.0.2", true, false, {}},
                                                       {"eth1", "10.0.0.3", false, true, {}}};
  EXPECT_EQ(NetworkUtils::addressOfMainInterface(interfaces), std::nullopt);
  interfaces.push_back({"wlan0", "10.0.1.2", true, true, {}});
  interfaces.push_back({"wlan0", "10.0.1.3", true, true, {}});
  interfaces.push_back({"wlan1", "10.0.2.2", true, true, {}});
  EXPECT_EQ(NetworkUtils::addressOfMainInterface(interfaces), "10.0.1.3");
}

}  // namespace
}  // namespace quorin::panel
