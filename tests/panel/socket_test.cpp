#include "panel/panel_fixture.h"
#include "platform/dispatch/system_scheduler.h"
#include "support/eventually.h"
#include "support/udp_peer.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
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
using ::testing::ElementsAre;
using ::testing::Pair;

TEST(ResolveClientKey, TakesTwoPiecesAndAPort) {
  const std::pair<const char*, std::optional<wire::Endpoint>> cases[] = {
      {"192.168.1.20:9000", wire::Endpoint{0xC0A80114, 9000}},
      {"some.host.name:9000", wire::Endpoint{0, 9000}},
      {":10.0.0.1::80:", wire::Endpoint{0x0A000001, 80}},
      {"10.0.0.1:70000", {}},
      {"10.0.0.1:80:81", {}},
      {"", {}},
  };
  for (const auto& [key, endpoint] : cases) EXPECT_EQ(resolveClientKey(key), endpoint) << key;
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
