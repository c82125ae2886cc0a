#include "wifi/udp_server.h"

#include "core/simulated_scheduler.h"
#include "platform/dispatch/system_scheduler.h"
#include "stream/audio_sender.h"
#include "support/allocation_count.h"
#include "support/eventually.h"
#include "wifi/wifi_fixture.h"
#include "wifi/wifi_transport.h"
#include "wire/control_message.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <QCoreApplication>
#include <atomic>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace quorin::wifi {
namespace {

using namespace std::chrono_literals;
using testing::IsEmpty;

const std::vector<std::string> kNothing;
const std::vector<std::string> kPong{std::string(wire::kPong)};
const std::vector<std::string> kBusy{std::string(wire::kBusy)};
const std::vector<std::string> kAccepted{std::string(wire::kReady), std::string(wire::kFormat)};

/// A server in simulated time, with real sockets on the loopback interface.
class Server {
 public:
  /// Why it did not start, in words; "" for a start.
  std::string start(int portNumber) {
    const auto started = server.startUDP(portNumber);
    if (started) return "";
    static constexpr const char* kSteps[] = {"port", "socket", "bind"};
    std::string why = kSteps[std::to_underlying(started.error().step)];
    if (const int error = started.error().error) why += std::string(" ") + ::strerrorname_np(error);
    return why;
  }

  /// A registered phone that has read its answers.
  Phone newClient() {
    Phone phone(port);
    EXPECT_EQ(answersTo(phone, wire::kHello).size(), 2U);
    return phone;
  }
  void phoneSays(Phone& phone, std::string_view text) {
    phone.says(text);
    scheduler.runPending();
  }
  std::vector<std::string> answersTo(Phone& phone, std::string_view datagram) {
    phoneSays(phone, datagram);
    return phone.hears();
  }
  int takeReports() { return std::exchange(reports_, 0); }

  const std::uint16_t port = freePort();
  dispatch::SimulatedScheduler scheduler;
  WifiTransport transport;
  std::unique_ptr<dispatch::SerialQueue> queue = stream::AudioSender::makeQueue(scheduler);
  stream::AudioSender sender{scheduler, *queue, {&transport}};
  UdpServer server{scheduler, sender, transport, [this] { ++reports_; }};

 private:
  int reports_ = 0;
};

class UdpServerTest : public testing::Test, protected Server {};

class RunningUdpServer : public UdpServerTest {
 protected:
  RunningUdpServer() { EXPECT_EQ(start(port), ""); }
};

TEST_F(UdpServerTest, SaysWhyItDidNotStart) {
  EXPECT_EQ(start(0), "port");
  EXPECT_EQ(start(65536), "port");

  Server other;
  EXPECT_EQ(other.start(other.port), "");
  EXPECT_EQ(start(other.port), "bind EADDRINUSE");
  other.newClient();
  EXPECT_EQ(start(other.port), "bind EADDRINUSE") << "beside a client's socket";
  EXPECT_EQ(start(port), "") << "a failure leaves nothing behind";
}

// What one phone sends, in order, and the answers.
TEST_F(RunningUdpServer, AnswersByTheRules) {
  const std::string token = "<<HELLO>>";
  const struct {
    const char* what;
    std::string datagram;
    std::vector<std::string> answers;
    std::size_t clients;
  } steps[] = {
      {"a ping of a stranger", "<<PING>>", kPong, 0},
      {"the longest datagram there is", token + std::string(65498, 'x'), kNothing, 0},
      {"127 bytes", token + std::string(118, '\0'), kAccepted, 1},
      {"a hello again", "<<HELLO>>\n", kAccepted, 1},
      {"a ping of a client", "<<PING>>", kPong, 1},
      {"a stop", "<<STOP>>", kNothing, 0},
      {"a second stop", "<<STOP>>", kNothing, 0},
      {"a ping does not bring it back", "<<PING>>", kPong, 0},
  };
  Phone phone(port);
  for (const auto& step : steps) {
    EXPECT_EQ(answersTo(phone, step.datagram), step.answers) << step.what;
    EXPECT_EQ(server.clientCount(), step.clients) << step.what;
  }
  EXPECT_EQ(server.ignoredDatagrams(), 1U);
}

TEST_F(RunningUdpServer, RefusesTheEleventhUntilOneLeaves) {
  std::vector<Phone> phones;
  for (int i = 0; i < 10; ++i) phones.push_back(newClient());
  Phone eleventh(port);
  scheduler.advance(200ms);
  takeReports();

  for (int i = 0; i < 3; ++i) EXPECT_EQ(answersTo(eleventh, "<<HELLO>>"), kBusy);
  scheduler.advance(1s);
  EXPECT_TRUE(server.hasRefused());
  EXPECT_EQ(takeReports(), 1);
  EXPECT_EQ(answersTo(phones[4], "<<HELLO>>"), kAccepted) << "a known one is never refused";
  server.disconnect(phones[4].key());
  server.disconnect(phones[4].key());
  EXPECT_EQ(answersTo(phones[4], "<<PING>>"), kPong);
  EXPECT_EQ(server.clientCount(), 9U);
  EXPECT_EQ(answersTo(phones[4], "<<HELLO>>"), kAccepted) << "it may come again";
  EXPECT_EQ(answersTo(phones[4], "<<STOP>>"), kNothing);
  EXPECT_FALSE(server.hasRefused());
  EXPECT_EQ(answersTo(eleventh, "<<HELLO>>"), kAccepted);
}

TEST_F(RunningUdpServer, DropsClientsAfterMoreThanEightSecondsOfSilence) {
  auto silent = newClient();
  auto talking = newClient();

  scheduler.advance(5s);
  EXPECT_EQ(answersTo(talking, "<<PING>>"), kPong);
  scheduler.jump(0s, 1h);
  scheduler.advance(3s);
  EXPECT_EQ(server.clientCount(), 2U) << "silent for exactly 8 s, whatever the clock was set to";
  takeReports();
  scheduler.advance(1s);
  EXPECT_EQ(server.clientCount(), 1U);
  scheduler.jump(0s, -2h);
  scheduler.advance(5s);
  EXPECT_EQ(server.clientCount(), 0U);
  EXPECT_EQ(takeReports(), 2);
  EXPECT_THAT(silent.hears(), IsEmpty()) << "nothing is sent to it";
}

TEST_F(RunningUdpServer, ReportsAtOnceAndThenAtMostFiveTimesASecond) {
  Phone phone(port);
  phoneSays(phone, "<<HELLO>>");
  EXPECT_EQ(takeReports(), 1);
  for (int i = 0; i < 1000; ++i) {
    phoneSays(phone, i % 2 == 0 ? "<<STOP>>" : "<<HELLO>>");
    scheduler.advance(1ms);
  }
  EXPECT_LE(takeReports(), 5);
}

TEST_F(RunningUdpServer, ClosesTheSocketsOfFormerClientsSoon) {
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

/// Counts what the pacing queue has allocated by the end of each send.
struct CountingTransport : WifiTransport {
  void send(wire::AudioChunkView samples) override {
    WifiTransport::send(samples);
    allocations = test::allocationsOfThisThread();
  }
  std::atomic<std::size_t> allocations = 0;
};

// The whole path of a chunk, on real threads.
TEST(WifiTransport, NothingIsAllocatedFromTheOfferToTheSend) {
  if (!test::allocationsAreCounted()) GTEST_SKIP() << "the sanitizer has its own allocator";
  const auto scheduler = dispatch::makeSystemScheduler();
  CountingTransport transport;
  const auto queue = stream::AudioSender::makeQueue(*scheduler);
  stream::AudioSender sender{*scheduler, *queue, {&transport}};
  const Phone phone(freePort());
  auto socket = network::DatagramSocket::open();
  ASSERT_FALSE(socket->connect({INADDR_LOOPBACK, 0}, phone.key()));
  transport.publishAudience(
      std::make_shared<Audience>(1, std::make_shared<const ClientSocket>(std::move(*socket))));
  sender.startAudioSendTimer();

  const wire::AudioChunk chunk{};
  std::size_t byCapture = 0;
  const auto play = [&](std::uint64_t chunks) {
    const auto goal = transport.datagramsSent() + chunks;
    std::thread([&] {
      const auto before = test::allocationsOfThisThread();
      for (std::uint64_t i = 0; i < chunks; ++i) sender.offer(chunk);
      byCapture = test::allocationsOfThisThread() - before;
    }).join();
    ASSERT_TRUE(test::eventually([&] { return transport.datagramsSent() == goal; }));
  };
  play(2);
  const auto before = transport.allocations.load();
  play(9);
  EXPECT_EQ(transport.allocations, before);
  EXPECT_EQ(byCapture, 0U);
}

}  // namespace
}  // namespace quorin::wifi
