#include "audio/fake_engine.h"
#include "panel/panel_fixture.h"
#include "platform/dispatch/system_scheduler.h"
#include "support/eventually.h"
#include "support/udp_peer.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace quorin::panel {
namespace {

using namespace std::chrono_literals;
using test::UdpPeer;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

TEST_F(PanelServerTest, AnswersCountsAndSends) {
  const std::string ready = "<<READY>>";
  const std::string pong = "<<PONG>>";
  const struct {
    const char* what;
    std::vector<std::string> says;  // by the client at port 5
    std::vector<std::string> replies;
    int countShown;
    bool getsAudio;
  } exchanges[] = {
      {"HELLO: ready, and no format line", {"<<HELLO>>"}, {ready}, 1, true},
      {"HELLO twice", {"<<HELLO>>", "<<HELLO>>"}, {ready, ready}, 1, true},
      {"HELLO wins over STOP", {"<<STOP>><<HELLO>>"}, {ready}, 1, true},
      {"PING from an unknown key: audio, but no count", {"<<PING>>"}, {pong}, 0, true},
      {"any text from an unknown key", {"good morning"}, {}, 0, true},
      {"STOP", {"<<HELLO>>", "<<STOP>>"}, {ready}, 0, false},
      {"STOP wins over PING", {"<<HELLO>>", "<<PING>><<STOP>>"}, {ready}, 0, false},
      {"STOP from an unknown key", {"<<STOP>>"}, {}, 0, false},
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

TEST_F(PanelServerTest, StartsOnTheNextTurnAndStopTakesEverythingBack) {
  stop();  // before any start
  server_->start();
  EXPECT_FALSE(shown().isRunning);
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
  EXPECT_EQ(shown().rates.kbps, 0);

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

/// Real sockets and threads, on a port of the system's choice.
class PanelSocketTest : public ::testing::Test {
 protected:
  bool eventually(auto&& condition) {
    return test::eventually([&] {
      QCoreApplication::processEvents();
      return condition();
    });
  }

  std::unique_ptr<UDPSocket> listen(std::uint16_t port = 0) {
    auto socket = std::make_unique<UDPSocket>(*scheduler_, port, [](std::string_view) {});
    socket->setOnMessageReceived([this](const std::string& text, const std::string& key) {
      received_.emplace_back(text, key);
    });
    EXPECT_TRUE(socket->start());
    return socket;
  }

  /// What arrived, once `count` messages did.
  std::vector<std::pair<std::string, std::string>> received(std::size_t count) {
    eventually([&] { return received_.size() >= count; });
    return std::exchange(received_, {});
  }

  std::unique_ptr<dispatch::Scheduler> scheduler_ = dispatch::makeSystemScheduler();
  std::vector<std::pair<std::string, std::string>> received_;
};

TEST_F(PanelSocketTest, HandsTextsOverInOrderWithTheirSenderAndSendsToAKey) {
  const auto socket = listen();
  UdpPeer phone(socket->port());
  const std::string longText = "<<HELLO>>" + std::string(1991, 'x');
  const auto key = phone.key();
  phone.says("<<HELLO>>");
  phone.says("");
  phone.says("\xC3\x28 is no UTF-8");
  phone.says(std::string("a\0b", 3));
  phone.says(longText);
  phone.says("último");
  EXPECT_THAT(received(4), ElementsAre(Pair("<<HELLO>>", key), Pair(std::string("a\0b", 3), key),
                                       Pair(longText.substr(0, 1024), key), Pair("último", key)));
  socket->send("lost", "no key");
  socket->send("<<PING>>", "127.0.0.1:" + std::to_string(socket->port()));  // to itself
  socket->send("<<READY>>", key);
  EXPECT_EQ(phone.hears(), "<<READY>>");
  phone.says("after it");
  EXPECT_THAT(received(1), ElementsAre(Pair("after it", key))) << "it never hears itself";
}

TEST_F(PanelSocketTest, APortInUseIsErrorMinusTwoAndClosingFreesItAtOnce) {
  auto socket = listen();
  const auto port = socket->port();
  UDPSocket second(*scheduler_, port, [](std::string_view) {});
  const auto started = second.start();
  ASSERT_FALSE(started);
  EXPECT_EQ(started.error().code, -2);
  EXPECT_EQ(started.error().reason, std::errc::address_in_use);

  UdpPeer phone(port);
  for (int i = 0; i < 20'000; ++i) phone.says("<<HELLO>>");
  const auto begin = std::chrono::steady_clock::now();
  socket->close();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 500ms) << "the receive loop is woken";
  socket->send("lost", "127.0.0.1:9");
  bool allHandled = false;
  scheduler_->mainQueue().async([&] { allHandled = true; });
  while (!allHandled) QCoreApplication::processEvents();
  EXPECT_LE(received_.size(), 1024U) << "a flood that is not handled is bounded";
  listen(port);
}

TEST_F(PanelSocketTest, ManyComeAndGoWhileChunksFlow) {
  const auto port = listen()->port();
  FakeCapture* capture = nullptr;
  auto server = std::make_unique<UDPAudioServer>(
      *scheduler_, UDPAudioServer::Parts{.makeCapture =
                                             [&] {
                                               auto made = std::make_unique<FakeCapture>();
                                               capture = made.get();
                                               return made;
                                             },
                                         .print = [](std::string_view) {},
                                         .port = port});
  const auto& shown = server->published();
  for (int run = 0; run < 3; ++run) {
    server->start();
    ASSERT_TRUE(eventually([&] { return shown.isRunning; }));
    const std::jthread flow([handler = capture->deliver](const std::stop_token& stop) {
      wire::AudioChunk chunk{};
      chunk[881] = 1.5F;
      while (!stop.stop_requested()) handler(chunk);
    });
    std::vector<std::unique_ptr<UdpPeer>> phones;
    for (int i = 0; i < 100; ++i) {
      phones.push_back(std::make_unique<UdpPeer>(port));
      phones.back()->says("<<HELLO>>");
      if (i % 20 == 0) QCoreApplication::processEvents();
    }
    EXPECT_TRUE(eventually([&] { return shown.clientCount == 100; })) << shown.clientCount;
    for (const auto& phone : phones) {
      auto datagram = phone->hears();
      if (datagram == "<<READY>>") datagram = phone->hears();
      ASSERT_EQ(datagram.value_or("").size(), 3528U);
      float last = 0;
      std::memcpy(&last, datagram->data() + 881 * 4, 4);
      EXPECT_EQ(last, 1.5F) << "unchanged, unclipped floats";
      phone->says("<<STOP>>");
    }
    EXPECT_TRUE(eventually([&] { return shown.clientCount == 0; })) << shown.clientCount;
    phones[0]->says("<<HELLO>>");
    EXPECT_TRUE(eventually([&] { return shown.clientCount == 1; }));
    if (run == 2) {
      server.reset();  // without a stop, in the middle of it all
      break;
    }
    server->stop();
    EXPECT_TRUE(eventually([&] { return !shown.isRunning; }));
  }
}

}  // namespace
}  // namespace quorin::panel
