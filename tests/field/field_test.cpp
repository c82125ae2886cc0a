#include "field/field.h"

#include "bench/flood.h"
#include "support/allocation_count.h"
#include "wire/control_message.h"

#include <gmock/gmock.h>
#include <sys/socket.h>

#include <QCoreApplication>
#include <array>
#include <atomic>
#include <cstdio>
#include <thread>

namespace quorin::field {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

/// The computer is 10.11.0.2 on eth0; the phones' end of that wire has 10.11.0.101 to .110.
class Field : public ::testing::Test {
 protected:
  Field() {
    phones_.wireTo("eth0", "phone0");
    ip("address add 10.11.0.2/24 dev eth0");
    ip("route add default via 10.11.0.101");
    for (int i = 0; i < 10; ++i) phones_.ip("address add " + address(i) + "/24 dev phone0");
  }
  ~Field() override { ip("link del eth0"); }

  static std::string address(int phone) { return "10.11.0." + std::to_string(101 + phone); }

  Place phones_;
};

TEST_F(Field, TheAddressThatWasAskedAnswersWhateverTheRoutesPrefer) {
  phones_.wireTo("wlan0", "phone1");
  ip("address add 10.11.0.3/24 dev wlan0");  // the route through eth0 is the older one
  Computer computer;
  for (const std::string asked : {"10.11.0.3", "10.11.0.2"}) {
    auto& phone = computer.newClient(phones_, address(0), asked);
    phone.says("<<PING>>");
    EXPECT_TRUE(computer.until([&] { return phone.messages.size() == 3; }));
    EXPECT_THAT(phone.messages, ElementsAre(wire::kReady, wire::kFormat, wire::kPong)) << asked;
  }
  auto& stranger = computer.newPhone(phones_, address(1), "10.11.0.3");
  stranger.says("<<PING>>");
  EXPECT_TRUE(computer.until([&] { return !stranger.messages.empty(); })) << "not a client";
  ip("link del wlan0");
}

TEST_F(Field, SoundTravelsAsVoiceThroughAHundredRestarts) {
  Computer computer;
  auto& phone = computer.newClient(phones_, address(0));
  posix::FileDescriptor wire;
  phones_.run([&] {
    wire = posix::FileDescriptor(::socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_UDP));
  });
  std::array<unsigned char, 2000> packet{};
  EXPECT_GT(::recv(wire.get(), packet.data(), packet.size(), 0), 1764);
  EXPECT_EQ(packet[1], 0xB8) << "DSCP EF";
  for (int i = 0; i < 100; ++i) {
    computer.server().restartUDPForNetworkChange(Phone::kServerPort);
    ASSERT_TRUE(computer.server().isRunning()) << "a send under way must not keep the port from us";
    ASSERT_TRUE(computer.until([&] {
      if (computer.server().clientCount() == 0) phone.says("<<HELLO>>");
      return computer.server().clientCount() > 0;
    }));
  }
  const auto before = phone.arrivals.size();
  EXPECT_TRUE(computer.until([&] { return phone.arrivals.size() > before; }));
}

TEST_F(Field, AFloodCostsAClientNothingAndIsNotRemembered) {
  Computer computer;
  auto& phone = computer.newClient(phones_, address(0));
  phone.arrivals.clear();
  const auto memoryBefore = test::memoryInUse();
  std::atomic<bool> over = false;
  const std::jthread attacker([&] {
    phones_.run([] { bench::flood(*wire::Endpoint::parse("10.11.0.2:9000"), 50'000, 2s); });
    over = true;
  });
  int turns = 0;
  EXPECT_TRUE(computer.until([&] { return ++turns, over.load(); }));
  EXPECT_GE(phone.heardWithin(2s), 98U) << "of 100";
  EXPECT_GT(turns, 100) << "the interface still has its turns";
  EXPECT_LT(test::memoryInUse(), memoryBefore + 20'000'000);
  EXPECT_LE(computer.server().clientCount(), wifi::ClientTable::kMaxClients);
}

TEST_F(Field, ForgedSourcesAreIgnored) {
  Computer computer;
  const auto server = *wire::Endpoint::parse("10.11.0.2:9000");
  const auto isIgnored = [&](const char* source, bool fromTheComputerItself) {
    const auto before = computer.server().ignoredDatagrams();
    const auto send = [&] { sendForged(*wire::Endpoint::parse(source), server, "<<HELLO>>"); };
    fromTheComputerItself ? send() : phones_.run(send);
    return computer.until([&] { return computer.server().ignoredDatagrams() > before; }, 1s);
  };
  EXPECT_TRUE(isIgnored("8.8.8.8:53", false));
  EXPECT_TRUE(isIgnored("10.11.0.2:9000", true)) << "its own address and port";
  EXPECT_TRUE(isIgnored("127.0.0.1:53", true)) << "a service of its own";
  EXPECT_TRUE(computer.server().clients().empty());
}

TEST_F(Field, AnswersToHostsThatAreGoneDoNotKeepAPhoneFromItsOwn) {
  Computer computer;
  const auto server = *wire::Endpoint::parse("10.11.0.2:9000");
  for (int batch = 0; batch < 15; ++batch) {  // until the server's own socket is full
    phones_.run([&] {
      for (std::uint32_t i = 0; i < 60; ++i) {
        sendForged({.address = 0x0A0B00C8 + i % 40, .port = 4000}, server, "<<PING>>");
      }
    });
    computer.runFor(10ms);
  }
  auto& phone = computer.newClient(phones_, address(0));
  EXPECT_THAT(phone.messages, ElementsAre(wire::kReady, wire::kFormat));
}

TEST_F(Field, AClosedPortEndsTheStreamWithItsFirstAnswer) {
  Computer computer;
  const auto victim = *wire::Endpoint::parse("10.11.0.105:5555");
  const auto says = [&](std::string_view text) {
    phones_.run([&] { sendForged(victim, {0x0A0B0002, Phone::kServerPort}, text); });
  };
  says("<<HELLO>>");
  computer.runFor(200ms);
  EXPECT_EQ(computer.server().clientCount(), 0U);
  for (int i = 0; i < 5; ++i) says("<<PING>>");
  computer.runFor(100ms);
  EXPECT_EQ(computer.server().clientCount(), 0U);

  computer.newClient(phones_, address(0));
  computer.phones.clear();
  EXPECT_TRUE(computer.until([&] { return computer.server().clientCount() == 0; }));
}

TEST_F(Field, AnAddressThatIsGoneForAMomentCostsNoClient) {
  Computer computer;
  auto& phone = computer.newClient(phones_, address(0));
  ip("address del 10.11.0.2/24 dev eth0");
  computer.runFor(100ms);
  ip("address add 10.11.0.2/24 dev eth0");
  const auto before = phone.arrivals.size();
  EXPECT_TRUE(computer.until([&] { return phone.arrivals.size() > before + 25; }));
}

TEST_F(Field, ACableThatIsPluggedInDisturbsNobody) {
  ip("link set eth0 down");
  ip("link set eth0 name wlan0");
  ip("link set wlan0 up");
  Computer computer;
  ASSERT_TRUE(computer.until([&] { return computer.watch().address().has_value(); }));
  auto& phone = computer.newClient(phones_, address(0));
  const auto begin = phone.arrivals.size();
  phones_.wireTo("eth0", "phone1");
  ip("address add 10.22.0.2/24 dev eth0");
  ip("route add default dev eth0");
  computer.runFor(2500ms);
  EXPECT_EQ(computer.watch().networks().candidates.front().address, "10.22.0.2");
  EXPECT_EQ(computer.watch().address(), "10.11.0.2");
  EXPECT_GE(phone.arrivals.size(), begin + 123);
  ip("link del wlan0");
}

}  // namespace
}  // namespace quorin::field

int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  if (!GTEST_FLAG_GET(list_tests) && !quorin::test::enterOwnNetwork()) {
    std::puts("skipped: networks of its own need root, or user namespaces");
    return 77;  // what CTest takes for skipped
  }
  const QCoreApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
