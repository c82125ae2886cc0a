#include "wifi/udp_server.h"

#include "wifi/wifi_fixture.h"
#include "wire/control_message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <functional>

namespace quorin::wifi {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

const auto kAccepted = ElementsAre(wire::kReady, wire::kFormat);

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

TEST_F(UdpServerTest, TellsWhyItDidNotStart) {
  server.startUDP("0");
  EXPECT_THAT(listener.take(), ElementsAre("failed: port"));

  WifiTest other;
  other.start();
  server.startUDP(other.portText);
  EXPECT_THAT(listener.take(), ElementsAre("failed: bind EADDRINUSE"));
  EXPECT_FALSE(server.isRunning());

  start();
  EXPECT_THAT(listener.take(), ElementsAre("started")) << "a failure leaves nothing behind";
}

TEST_F(UdpServerTest, TellsThatThereIsNoSocket) {
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{.rlim_cur = 0, .rlim_max = before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  start();
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);

  EXPECT_THAT(listener.take(), ElementsAre("failed: socket EMFILE"));
  EXPECT_FALSE(server.isRunning());
}

TEST_F(RunningUdpServer, RegistersOnHello) {
  auto phone = newPhone();
  EXPECT_THAT(answersTo(phone, "<<HELLO>>"), kAccepted);
  EXPECT_THAT(listener.take(), ElementsAre("count 1", "connected"));
  EXPECT_THAT(answersTo(phone, "<<HELLO>>\n"), kAccepted) << "again";
  EXPECT_THAT(listener.take(), ElementsAre("count 1", "connected"));
}

TEST_F(RunningUdpServer, RefusesTheEleventhUntilOneLeaves) {
  std::vector<Phone> phones;
  for (int i = 0; i < 10; ++i) phones.push_back(newClient());
  auto eleventh = newPhone();
  listener.take();

  EXPECT_THAT(answersTo(eleventh, "<<HELLO>>"), ElementsAre(wire::kBusy));
  EXPECT_THAT(listener.take(), IsEmpty());
  EXPECT_THAT(answersTo(phones[4], "<<HELLO>>"), kAccepted) << "a known one is never refused";
  EXPECT_THAT(answersTo(phones[4], "<<STOP>>"), IsEmpty());
  EXPECT_THAT(answersTo(eleventh, "<<HELLO>>"), kAccepted);
  EXPECT_EQ(server.clientCount(), 10U);
}

TEST_F(RunningUdpServer, ForgetsOnStop) {
  auto first = newClient();
  auto second = newClient();
  listener.take();
  EXPECT_THAT(answersTo(first, "<<STOP>>"), IsEmpty());
  EXPECT_THAT(listener.take(), ElementsAre("count 1"));
  EXPECT_THAT(answersTo(second, "<<STOP>>"), IsEmpty());
  EXPECT_THAT(listener.take(), ElementsAre("count 0", "disconnected"));
  EXPECT_THAT(answersTo(second, "<<STOP>>"), IsEmpty());
  EXPECT_THAT(listener.take(), ElementsAre("count 0", "disconnected")) << "of a stranger too";
}

TEST_F(RunningUdpServer, LeavesUnansweredWhatAsksForNothing) {
  auto phone = newPhone();
  const std::string token = "<<HELLO>>";
  const std::string rubbish[] = {
      "",
      "x",
      token + std::string(119, 'x'),    // 128 bytes
      token + std::string(4087, 'x'),   // fills the buffer
      token + std::string(65498, 'x'),  // the longest datagram there is
      token + "\xE2\x9C",
      "<<READY>>",
  };
  for (const auto& datagram : rubbish) {
    EXPECT_THAT(answersTo(phone, datagram), IsEmpty()) << datagram.size() << " bytes";
  }
  EXPECT_EQ(server.ignoredDatagrams(), std::size(rubbish));
  EXPECT_EQ(server.clientCount(), 0U);

  EXPECT_THAT(answersTo(phone, token + std::string(118, '\0')), kAccepted) << "127 bytes";
}

TEST_F(RunningUdpServer, DropsWhoIsSilentForMoreThanEightSeconds) {
  auto silent = newClient();
  auto talking = newClient();
  listener.take();

  scheduler.advance(5s);
  EXPECT_THAT(answersTo(talking, "<<PING>>"), ElementsAre(wire::kPong));
  scheduler.advance(3s);
  EXPECT_EQ(server.clientCount(), 2U) << "silent for exactly 8 s at a check";
  scheduler.advance(1s);
  EXPECT_EQ(server.clientCount(), 1U);
  EXPECT_THAT(listener.take(), ElementsAre("count 1"));
  scheduler.advance(5s);
  EXPECT_THAT(listener.take(), ElementsAre("count 0", "disconnected"));
  EXPECT_THAT(silent.hears(), IsEmpty()) << "nobody is told";
}

TEST_F(RunningUdpServer, AnswersAPingOfAnybodyAndReportsTheSilenceThatFollowsOnce) {
  auto stranger = newPhone();
  EXPECT_THAT(answersTo(stranger, "<<PING>>"), ElementsAre(wire::kPong));
  EXPECT_EQ(server.clientCount(), 0U);
  EXPECT_THAT(listener.take(), IsEmpty());
  scheduler.advance(20s);
  EXPECT_THAT(listener.take(), ElementsAre("count 0", "disconnected"));
}

TEST_F(RunningUdpServer, ReportsAWholeTurnOnce) {
  std::vector<Phone> phones;
  for (int i = 0; i < 5; ++i) phones.push_back(newPhone());
  for (auto& phone : phones) phone.says("<<HELLO>>");
  phones[0].says("<<STOP>>");
  scheduler.runPending();
  EXPECT_THAT(listener.take(), ElementsAre("count 4", "connected"));

  for (auto& phone : phones) phone.says("<<STOP>>");
  phones[0].says("<<HELLO>>");
  phones[0].says("<<STOP>>");
  scheduler.runPending();
  EXPECT_THAT(listener.take(), ElementsAre("count 0", "disconnected"));
}

TEST_F(RunningUdpServer, StopsTwiceWithoutHarmAndStartsAgain) {
  auto phone = newClient();
  listener.take();
  server.stopUDP();
  server.stopUDP();
  EXPECT_THAT(listener.take(), ElementsAre("stopped", "stopped"));
  EXPECT_EQ(server.clientCount(), 0U);
  EXPECT_THAT(answersTo(phone, "<<PING>>"), IsEmpty());
  scheduler.advance(20s);
  EXPECT_THAT(listener.take(), IsEmpty());

  start();
  EXPECT_THAT(answersTo(phone, "<<HELLO>>"), kAccepted);
}

TEST_F(RunningUdpServer, ForgetsEverybodyWhenTheNetworkChanges) {
  auto phone = newClient();
  auto other = newClient();
  listener.take();

  server.restartUDPForNetworkChange(portText);
  EXPECT_THAT(listener.take(), ElementsAre("started"));
  EXPECT_EQ(server.clientCount(), 0U);
  EXPECT_THAT(answersTo(phone, "<<PING>>"), ElementsAre(wire::kPong));
  EXPECT_EQ(server.clientCount(), 0U) << "a ping does not bring it back";
  EXPECT_THAT(answersTo(phone, "<<HELLO>>"), kAccepted);

  server.restartUDPForNetworkChange("nonsense");
  EXPECT_FALSE(server.isRunning());
  EXPECT_EQ(server.clientCount(), 0U);
  server.restartUDPForNetworkChange(portText);
  EXPECT_FALSE(server.isRunning()) << "a stopped server is left alone";
}

/// Does something to the server from within the first callback of a turn.
class ActingListener : public RecordingListener {
 public:
  void onClientCountChanged(std::size_t clients) override {
    RecordingListener::onClientCountChanged(clients);
    act();
  }
  std::function<void()> act;
};

TEST_F(UdpServerTest, MayBeStoppedOrRestartedByItsListener) {
  for (const bool restart : {false, true}) {
    ActingListener acting;
    UdpServer acted(scheduler, sender, transport, acting);
    acting.act = [&] { restart ? acted.restartUDPForNetworkChange(portText) : acted.stopUDP(); };
    acted.startUDP(portText);
    auto phone = newPhone();
    phoneSays(phone, "<<HELLO>>");
    EXPECT_THAT(acting.events, ElementsAre("started", "count 1", restart ? "started" : "stopped"))
        << "and nobody is connected";
  }
}

TEST_F(UdpServerTest, LeavesNoDescriptorOpen) {
  const auto lowestFree = [] {
    const posix::FileDescriptor probe(::dup(STDIN_FILENO));
    return probe.get();
  };
  const auto before = lowestFree();
  start();
  auto client = std::make_unique<Phone>(newClient());
  server.restartUDPForNetworkChange(portText);
  server.stopUDP();
  server.startUDP("");
  client.reset();
  EXPECT_EQ(lowestFree(), before);
}

}  // namespace
}  // namespace quorin::wifi
