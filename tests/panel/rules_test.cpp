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
using ::testing::IsEmpty;

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

}  // namespace
}  // namespace quorin::panel
