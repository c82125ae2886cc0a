#include "panel/udp_socket.h"

#include "platform/dispatch/system_scheduler.h"
#include "support/eventually.h"
#include "support/udp_peer.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>

#include <QCoreApplication>
#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quorin::panel {
namespace {

using namespace std::chrono_literals;
using test::UdpPeer;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

TEST(ResolveClientKey, TakesTwoPiecesAndAPort) {
  struct Case {
    const char* key;
    const char* address;  // null: refused
    std::uint16_t port;
  };
  const Case cases[] = {
      {"192.168.1.20:9000", "192.168.1.20", 9000},
      {"0.0.0.0:0", "0.0.0.0", 0},
      {"10.0.0.1:65535", "10.0.0.1", 65535},
      {"some.host.name:9000", "0.0.0.0", 9000},
      {"10.0.0.1::80", "10.0.0.1", 80},
      {":10.0.0.1:80:", "10.0.0.1", 80},
      {"10.0.0.1:70000", nullptr, 0},
      {"10.0.0.1:-1", nullptr, 0},
      {"10.0.0.1:80x", nullptr, 0},
      {"10.0.0.1: 80", nullptr, 0},
      {"10.0.0.1:", nullptr, 0},
      {"10.0.0.1", nullptr, 0},
      {"10.0.0.1:80:81", nullptr, 0},
      {":::", nullptr, 0},
      {"", nullptr, 0},
  };
  for (const auto& c : cases) {
    const auto resolved = resolveClientKey(c.key);
    EXPECT_EQ(resolved.has_value(), c.address != nullptr) << c.key;
    if (!resolved || c.address == nullptr) continue;
    EXPECT_EQ(resolved->sin_addr.s_addr, inet_addr(c.address)) << c.key;
    EXPECT_EQ(ntohs(resolved->sin_port), c.port) << c.key;
  }
}

class UDPSocketTest : public ::testing::Test {
 protected:
  UDPSocketTest() {
    socket_->setOnMessageReceived([this](const std::string& text, const std::string& key) {
      received_.emplace_back(text, key);
    });
  }

  void listen() { ASSERT_TRUE(socket_->start()); }

  /// What arrived, once `count` messages did.
  std::vector<std::pair<std::string, std::string>> received(std::size_t count) {
    test::eventually([&] {
      QCoreApplication::processEvents();
      return received_.size() >= count;
    });
    return std::exchange(received_, {});
  }

  std::unique_ptr<dispatch::Scheduler> scheduler_ = dispatch::makeSystemScheduler();
  std::vector<std::pair<std::string, std::string>> received_;
  std::unique_ptr<UDPSocket> socket_ =
      std::make_unique<UDPSocket>(*scheduler_, 0, [](std::string_view) {});
};

TEST_F(UDPSocketTest, HandsTextsOverInOrderWithTheirSender) {
  listen();
  UdpPeer phone(socket_->port());
  phone.says("<<HELLO>>");
  phone.says("");
  phone.says("\xC3\x28 is no UTF-8");
  phone.says(std::string("a\0b", 3));
  phone.says("último");
  EXPECT_THAT(received(3),
              ElementsAre(Pair("<<HELLO>>", phone.key()), Pair(std::string("a\0b", 3), phone.key()),
                          Pair("último", phone.key())));
}

TEST_F(UDPSocketTest, CutsALongDatagram) {
  listen();
  UdpPeer phone(socket_->port());
  const std::string text = "<<HELLO>>" + std::string(1991, 'x');
  phone.says(text);
  phone.says(text.substr(0, 1024));
  EXPECT_THAT(received(2), ElementsAre(Pair(text.substr(0, 1024), phone.key()),
                                       Pair(text.substr(0, 1024), phone.key())));
}

TEST_F(UDPSocketTest, SendsToAKey) {
  listen();
  UdpPeer phone(socket_->port());
  socket_->send("lost", "no key");
  socket_->send("<<READY>>", phone.key());
  EXPECT_EQ(phone.hears(), "<<READY>>");
}

TEST_F(UDPSocketTest, SendsToAllTheOthersWhenOneIsRefused) {
  listen();
  std::vector<std::unique_ptr<UdpPeer>> phones;
  std::vector<sockaddr_in> addresses;
  const auto refused = *resolveClientKey("255.255.255.255:9");  // broadcasting is not allowed
  addresses.push_back(refused);
  constexpr int kTimes = 55;
  for (int i = 0; i < 20; ++i) phones.push_back(std::make_unique<UdpPeer>(socket_->port()));
  for (int time = 0; time < kTimes; ++time) {  // together more than go into one call
    for (const auto& phone : phones) addresses.push_back(*resolveClientKey(phone->key()));
    if (time % 10 == 0) addresses.push_back(refused);
  }
  ASSERT_GT(addresses.size(), 1024U);
  const std::string chunk = "chunk";
  socket_->sendToAll(std::as_bytes(std::span(chunk)), addresses);
  for (const auto& phone : phones) {
    for (int time = 0; time < kTimes; ++time) EXPECT_EQ(phone->hears(), chunk);
    EXPECT_EQ(phone->heard(), std::nullopt);
  }
}

TEST_F(UDPSocketTest, APortInUseIsErrorMinusTwo) {
  listen();
  UDPSocket second(*scheduler_, socket_->port(), [](std::string_view) {});
  const auto started = second.start();
  ASSERT_FALSE(started);
  EXPECT_EQ(started.error().code, -2);
  EXPECT_EQ(started.error().description, "No se pudo hacer bind");
  EXPECT_EQ(second.socket(), -1);
  EXPECT_FALSE(second.isListening());
}

TEST_F(UDPSocketTest, CloseIsPromptAndFreesThePort) {
  for (int i = 0; i < 20; ++i) {
    listen();
    const auto port = socket_->port();
    const auto begin = std::chrono::steady_clock::now();
    socket_->close();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 500ms)
        << "the receive loop is woken, not waited for";
    EXPECT_EQ(socket_->socket(), -1);
    EXPECT_FALSE(socket_->isListening());
    socket_->send("nobody sends this", "127.0.0.1:9");
    socket_ = std::make_unique<UDPSocket>(*scheduler_, port, [](std::string_view) {});
  }
}

TEST_F(UDPSocketTest, WhatArrivedIsNotHandedOverOnceItHasGone) {
  listen();
  UdpPeer phone(socket_->port());
  for (int i = 0; i < 100; ++i) phone.says("<<HELLO>>");
  socket_.reset();
  QCoreApplication::processEvents();
  EXPECT_THAT(received_, IsEmpty());
}

TEST_F(UDPSocketTest, AFloodThatNobodyHandlesIsBounded) {
  listen();
  UdpPeer phone(socket_->port());
  for (int i = 0; i < 20000; ++i) phone.says("<<PING>>");
  socket_->close();
  bool allHandled = false;
  scheduler_->mainQueue().async([&] { allHandled = true; });
  while (!allHandled) QCoreApplication::processEvents();
  EXPECT_GT(received_.size(), 500U);
  EXPECT_LE(received_.size(), 1024U + 1) << "one may have been on its way";
}

}  // namespace
}  // namespace quorin::panel
