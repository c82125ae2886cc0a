#include "wifi/udp_server.h"

#include "wifi/wifi_fixture.h"
#include "wire/control_message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

namespace quorin::wifi {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

const std::vector<std::string> kNothing;
const std::vector<std::string> kPong{std::string(wire::kPong)};
const std::vector<std::string> kBusy{std::string(wire::kBusy)};
const std::vector<std::string> kAccepted{std::string(wire::kReady), std::string(wire::kFormat)};

class UdpServerTest : public WifiTest, public testing::Test {
 protected:
  std::vector<std::string> answersTo(Phone& phone, std::string_view datagram) {
    phoneSays(phone, datagram);
    return phone.hears();
  }
};

class RunningUdpServer : public UdpServerTest {
 protected:
  RunningUdpServer() {
    start();
    EXPECT_THAT(listener.take(), ElementsAre("started"));
  }
};

TEST_F(UdpServerTest, ReportsWhyItDidNotStart) {
  server.startUDP("0");
  EXPECT_THAT(listener.take(), ElementsAre("failed: port"));

  WifiTest other;
  other.start();
  server.startUDP(other.portText);
  EXPECT_THAT(listener.take(), ElementsAre("failed: bind EADDRINUSE"));
  other.newClient();
  server.startUDP(other.portText);
  EXPECT_THAT(listener.take(), ElementsAre("failed: bind EADDRINUSE"))
      << "beside a client's socket";

  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{.rlim_cur = 0, .rlim_max = before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  start();
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_THAT(listener.take(), ElementsAre("failed: socket EMFILE"));
  EXPECT_FALSE(server.isRunning());

  start();
  EXPECT_THAT(listener.take(), ElementsAre("started")) << "a failure leaves nothing behind";
}

// What one phone says, in a row, and what it gets for each.
TEST_F(RunningUdpServer, AnswersByTheRules) {
  const std::string token = "<<HELLO>>";
  const struct {
    const char* what;
    std::string datagram;
    std::vector<std::string> answers;
    std::size_t clients;
  } steps[] = {
      {"a ping of a stranger", "<<PING>>", kPong, 0},
      {"128 bytes", token + std::string(119, 'x'), kNothing, 0},
      {"the whole buffer", token + std::string(4087, 'x'), kNothing, 0},
      {"the longest datagram there is", token + std::string(65498, 'x'), kNothing, 0},
      {"127 bytes", token + std::string(118, '\0'), kAccepted, 1},
      {"a hello again", "<<HELLO>>\n", kAccepted, 1},
      {"a ping of a client", "<<PING>>", kPong, 1},
      {"a ping before a stop", "<<STOP>><<PING>>", kPong, 1},
      {"a stop", "<<STOP>>", kNothing, 0},
      {"a second stop", "<<STOP>>", kNothing, 0},
      {"a ping does not bring it back", "<<PING>>", kPong, 0},
      {"a hello before a stop", "<<STOP>><<HELLO>>", kAccepted, 1},
  };
  auto phone = newPhone();
  for (const auto& step : steps) {
    EXPECT_EQ(answersTo(phone, step.datagram), step.answers) << step.what;
    EXPECT_EQ(server.clientCount(), step.clients) << step.what;
  }
  EXPECT_EQ(server.ignoredDatagrams(), 3U);
}

TEST_F(RunningUdpServer, RefusesTheEleventhUntilOneLeaves) {
  std::vector<Phone> phones;
  for (int i = 0; i < 10; ++i) phones.push_back(newClient());
  auto eleventh = newPhone();
  scheduler.advance(200ms);
  listener.take();

  for (int i = 0; i < 3; ++i) EXPECT_EQ(answersTo(eleventh, "<<HELLO>>"), kBusy);
  scheduler.advance(1s);
  EXPECT_TRUE(server.hasRefused());
  EXPECT_THAT(listener.take(), ElementsAre("changed")) << "once";
  EXPECT_EQ(answersTo(phones[4], "<<HELLO>>"), kAccepted) << "a known one is never refused";
  EXPECT_EQ(answersTo(phones[4], "<<STOP>>"), kNothing);
  EXPECT_FALSE(server.hasRefused());
  EXPECT_EQ(answersTo(eleventh, "<<HELLO>>"), kAccepted);
}

TEST_F(RunningUdpServer, ListsItsClientsAndDropsOneOnDemand) {
  auto first = newClient();
  const auto joined = scheduler.wallNow();
  scheduler.advance(5s);
  auto second = newClient();
  EXPECT_THAT(server.clients(),
              ElementsAre(Client{first.key(), joined}, Client{second.key(), joined + 5s}));
  scheduler.jump(0s, 1h);
  EXPECT_EQ(server.clients()[1].connectedSince, scheduler.wallNow()) << "by the clock as it is now";

  server.disconnect(first.key());
  server.disconnect(first.key());
  EXPECT_EQ(server.clientCount(), 1U);
  EXPECT_EQ(answersTo(first, "<<PING>>"), kPong);
  EXPECT_EQ(server.clientCount(), 1U);
  EXPECT_EQ(answersTo(first, "<<HELLO>>"), kAccepted);
}

TEST_F(RunningUdpServer, DropsWhoIsSilentForMoreThanEightSeconds) {
  auto silent = newClient();
  auto talking = newClient();

  scheduler.advance(5s);
  EXPECT_EQ(answersTo(talking, "<<PING>>"), kPong);
  scheduler.jump(0s, 1h);
  scheduler.advance(3s);
  EXPECT_EQ(server.clientCount(), 2U) << "silent for exactly 8 s, whatever the clock was set to";
  listener.take();
  scheduler.advance(1s);
  EXPECT_EQ(server.clientCount(), 1U);
  scheduler.jump(0s, -2h);
  scheduler.advance(5s);
  EXPECT_EQ(server.clientCount(), 0U);
  EXPECT_THAT(listener.take(), ElementsAre("changed", "changed"));
  EXPECT_THAT(silent.hears(), IsEmpty()) << "nothing is sent to it";
}

TEST_F(RunningUdpServer, ReportsAtOnceAndThenFiveTimesASecondAtMost) {
  auto phone = newPhone();
  phoneSays(phone, "<<HELLO>>");
  EXPECT_THAT(listener.take(), ElementsAre("changed"));
  for (int i = 0; i < 1000; ++i) {
    phoneSays(phone, i % 2 == 0 ? "<<STOP>>" : "<<HELLO>>");
    scheduler.advance(1ms);
  }
  EXPECT_LE(listener.take().size(), 5U);
  scheduler.advance(200ms);
  listener.take();
  phoneSays(phone, "<<HELLO>>");
  scheduler.advance(1s);
  EXPECT_THAT(listener.take(), IsEmpty()) << "nothing has changed";
}

TEST_F(RunningUdpServer, StopsTwiceWithoutHarmAndStartsAgain) {
  auto phone = newClient();
  scheduler.advance(200ms);
  listener.take();
  phoneSays(phone, "<<STOP>>");
  server.stopUDP();
  server.stopUDP();
  EXPECT_EQ(server.clientCount(), 0U);
  EXPECT_EQ(answersTo(phone, "<<PING>>"), kNothing);
  scheduler.advance(20s);
  EXPECT_THAT(listener.take(), ElementsAre("changed", "stopped", "stopped"));

  start();
  EXPECT_EQ(answersTo(phone, "<<HELLO>>"), kAccepted);
}

TEST_F(RunningUdpServer, ForgetsAllClientsWhenTheNetworkChanges) {
  auto phone = newClient();
  auto other = newClient();
  for (const auto& text : {portText, std::to_string(freePort())}) {
    listener.take();
    server.restartUDPForNetworkChange(text);
    EXPECT_THAT(listener.take(), ElementsAre("started"));
    EXPECT_EQ(server.clientCount(), 0U);
  }
  EXPECT_EQ(answersTo(phone, "<<HELLO>>"), kNothing) << "on the former port";

  server.restartUDPForNetworkChange("nonsense");
  EXPECT_FALSE(server.isRunning());
  server.restartUDPForNetworkChange(portText);
  EXPECT_FALSE(server.isRunning()) << "a stopped server is left alone";
}

// More than the server keeps of those that have left.
TEST_F(RunningUdpServer, KeepsAFewSocketsOfThoseThatHaveLeftForAMoment) {
  const auto lowestFree = [] {
    const posix::FileDescriptor probe(::dup(STDIN_FILENO));
    return probe.get();
  };
  auto stays = newClient();
  const auto before = lowestFree();
  for (int i = 0; i < 50; ++i) {
    auto phone = newClient();
    EXPECT_EQ(answersTo(phone, "<<STOP>>"), kNothing);
    EXPECT_EQ(answersTo(phone, "<<PING>>"), kPong);
    EXPECT_LE(lowestFree(), before + 12) << "ten are opened in one interval";
  }
  scheduler.advance(2s);
  EXPECT_EQ(lowestFree(), before);
  EXPECT_EQ(answersTo(stays, "<<PING>>"), kPong);
}

}  // namespace
}  // namespace quorin::wifi
