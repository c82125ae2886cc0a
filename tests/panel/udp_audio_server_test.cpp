#include "panel/udp_audio_server.h"

#include "panel/panel_fixture.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace quorin::panel {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(PanelServerTest, WithoutANetworkItNamesTheLoopbackAddress) {
  EXPECT_EQ(server_->localIP(), "192.168.1.20");
  localAddress_.reset();
  EXPECT_EQ(makeServer()->localIP(), "127.0.0.1");
}

TEST_F(PanelServerTest, StartsOnTheNextTurnAndOnce) {
  server_->start();
  EXPECT_FALSE(server_->isRunning());
  EXPECT_TRUE(capture_->capturing);
  EXPECT_THAT(console_, Contains("🔌 Escuchando en 0.0.0.0:9000"));
  scheduler_.runPending();
  EXPECT_TRUE(server_->isRunning());

  printed();
  server_->start();
  EXPECT_THAT(printed(), IsEmpty()) << "running already";
  EXPECT_THAT(ports_, ElementsAre(9000));
}

TEST_F(PanelServerTest, AFailedBindLeavesItStoppedAndMayBeTriedAgain) {
  startFailure_ = SocketError{-2, "No se pudo hacer bind", "Address already in use"};
  for (int attempt = 0; attempt < 2; ++attempt) {
    server_->start();
    scheduler_.advance(6s);
    EXPECT_FALSE(server_->isRunning());
    EXPECT_EQ(capture_, nullptr);
    EXPECT_EQ(printed().back(),
              "❌ Error iniciando servidor: UDPSocket (-2): No se pudo hacer bind (Address already "
              "in use)");
  }
  startFailure_.reset();
  start();
  EXPECT_TRUE(server_->isRunning());
}

struct Exchange {
  const char* what;
  std::vector<std::string> says;  // by the client at port 5
  std::vector<std::string> hears;
  int countShown;  // by the panel
  bool getsAudio;
};

TEST_F(PanelServerTest, Exchanges) {
  const std::string ready = "10.0.0.1:5 <- <<READY>>";
  const std::string pong = "10.0.0.1:5 <- <<PONG>>";
  const Exchange exchanges[] = {
      {"HELLO: ready, and no format line", {"<<HELLO>>"}, {ready}, 1, true},
      {"HELLO with something around it", {"x<<HELLO>>\n"}, {ready}, 1, true},
      {"HELLO twice", {"<<HELLO>>", "<<HELLO>>"}, {ready, ready}, 1, true},
      {"HELLO wins over STOP", {"<<STOP>><<HELLO>>"}, {ready}, 1, true},
      {"PING from nobody known: audio, but no count", {"<<PING>>"}, {pong}, 0, true},
      {"any text from nobody known", {"good morning"}, {}, 0, true},
      {"lower case is any text", {"<<hello>>"}, {}, 0, true},
      {"STOP", {"<<HELLO>>", "<<STOP>>"}, {ready}, 0, false},
      {"STOP wins over PING", {"<<HELLO>>", "<<PING>><<STOP>>"}, {ready}, 0, false},
      {"STOP from nobody known", {"<<STOP>>"}, {}, 0, false},
      {"back again", {"<<HELLO>>", "<<STOP>>", "<<PING>>"}, {ready, pong}, 0, true},
  };
  for (const auto& e : exchanges) {
    start();
    for (const auto& text : e.says) clientSays(5, text);
    capture_->deliver();
    EXPECT_EQ(socket_->sent, e.hears) << e.what;
    EXPECT_EQ(server_->clientCount(), e.countShown) << e.what;
    EXPECT_EQ(chunksAt(5), e.getsAudio ? 1 : 0) << e.what;
    server_->stop();
    scheduler_.runPending();
  }
}

TEST_F(PanelServerTest, RatesCountEachChunkThatSomebodyHearsOnce) {
  start();
  for (int i = 0; i < 100; ++i) capture_->deliver();
  clientSays(1, "<<HELLO>>");
  clientSays(2, "<<PING>>");
  printed();
  for (int i = 0; i < 250; ++i) {
    scheduler_.advance(20ms);
    if (i < 249) capture_->deliver();
  }
  EXPECT_DOUBLE_EQ(server_->packetsPerSecond(), 249 / 5.0);
  EXPECT_DOUBLE_EQ(server_->kbps(), 249 * 3528 * 8 / 5.0 / 1024);
  EXPECT_THAT(printed(), ElementsAre("📊 49.8 pkt/s | 1372.6 Kbps | Clientes: 2"));
  scheduler_.advance(5s);
  EXPECT_EQ(server_->packetsPerSecond(), 0) << "counted anew in every period";
}

TEST_F(PanelServerTest, WhatWasCountedBeforeAStopIsInTheNextRunsFirstRate) {
  start();
  clientSays(1, "<<HELLO>>");
  for (int i = 0; i < 10; ++i) capture_->deliver();
  server_->stop();
  scheduler_.advance(1h);
  start();
  scheduler_.advance(5s);
  EXPECT_DOUBLE_EQ(server_->packetsPerSecond(), 2);
}

TEST_F(PanelServerTest, StopTakesEverythingBack) {
  server_->stop();  // nothing yet
  start();
  clientSays(1, "<<HELLO>>");
  capture_->deliver();
  scheduler_.advance(5s);
  const auto oldSocket = socket_;
  server_->stop();
  EXPECT_TRUE(server_->isRunning()) << "until the next turn";
  scheduler_.runPending();
  EXPECT_FALSE(server_->isRunning());
  EXPECT_EQ(server_->clientCount(), 0);
  EXPECT_THAT(server_->connectedClients(), IsEmpty());
  EXPECT_EQ(server_->packetsPerSecond(), 0);
  EXPECT_EQ(server_->kbps(), 0);
  EXPECT_FALSE(oldSocket->open);
  printed();
  scheduler_.advance(1min);
  EXPECT_THAT(printed(), IsEmpty()) << "no timer is left";
}

TEST_F(PanelServerTest, NewsThatWereUnderWayAtTheStopChangeNothingAfterIt) {
  start();
  socket_->receive("<<HELLO>>", "10.0.0.1:1");  // its notice waits in the main queue
  server_->stop();
  socket_->receive("<<HELLO>>", "10.0.0.1:2");
  scheduler_.runPending();
  EXPECT_FALSE(server_->isRunning());
  EXPECT_EQ(server_->clientCount(), 0);
}

TEST_F(PanelServerTest, StopDuringABroadcast) {
  start();
  clientSays(1, "<<HELLO>>");
  socket_->duringSend = [this] { server_->stop(); };
  capture_->deliver();
  scheduler_.runPending();
  EXPECT_FALSE(server_->isRunning());
  EXPECT_THAT(socket_->chunks, IsEmpty());
}

TEST_F(PanelServerTest, ReleaseWithoutStop) {
  start();
  clientSays(1, "<<HELLO>>");
  const auto lateChunk = capture_->handler();
  socket_->receive("<<HELLO>>", "10.0.0.1:2");
  const std::weak_ptr<FakeSocket> released = std::exchange(socket_, nullptr);
  server_.reset();
  EXPECT_TRUE(released.expired()) << "and with it its port";
  printed();
  lateChunk(wire::AudioChunk{});
  scheduler_.advance(1min);
  EXPECT_THAT(printed(), IsEmpty());
}

TEST_F(PanelServerTest, StartTwiceInOneTurnLeavesOneRun) {
  server_->start();
  const std::weak_ptr<FakeSocket> first = socket_;
  server_->start();
  scheduler_.runPending();
  EXPECT_TRUE(first.expired());
  EXPECT_TRUE(server_->isRunning());
  printed();
  scheduler_.advance(5s);
  EXPECT_EQ(printed().size(), 1U) << "one statistics timer";
}

TEST_F(PanelServerTest, AnnouncesEachChangeBeforeItIsStored) {
  std::vector<bool> seen;
  const auto subscription = server_->onWillChange([&] { seen.push_back(server_->isRunning()); });
  start();
  EXPECT_THAT(seen, ElementsAre(false));
  EXPECT_TRUE(server_->isRunning());
  clientSays(1, "<<HELLO>>");
  EXPECT_EQ(seen.size(), 3U) << "the count and the list";
}

}  // namespace
}  // namespace quorin::panel
