#include "panel/panel_fixture.h"
#include "panel/udp_audio_server.h"
#include "platform/dispatch/system_scheduler.h"
#include "support/allocation_count.h"
#include "support/eventually.h"
#include "support/udp_peer.h"
#include "wire/control_message.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <atomic>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace quorin::panel {
namespace {

using namespace std::chrono_literals;
using test::UdpPeer;

/// A capture whose thread is the test's.
class ThreadedCapture final : public AudioCapture {
 public:
  ~ThreadedCapture() override { stopCapture(); }

  void setOnAudioData(ChunkHandler handler) override { handler_ = std::move(handler); }
  void startCapture() override {
    thread_ = std::jthread([handler = handler_](const std::stop_token& stop) {
      wire::AudioChunk chunk{};
      while (!stop.stop_requested()) handler(chunk);
    });
  }
  void stopCapture() override {
    thread_.request_stop();
    if (thread_.joinable()) thread_.join();
  }

 private:
  ChunkHandler handler_;
  std::jthread thread_;
};

/// A server on a port of the system's choice, whose phones are real sockets.
class PanelWireTest : public ::testing::Test {
 protected:
  std::unique_ptr<UDPAudioServer> makeServer(CaptureFactory makeCapture) {
    return std::make_unique<UDPAudioServer>(
        *scheduler_, UDPAudioServer::Parts{
                         .makeCapture = std::move(makeCapture),
                         .makeSocket =
                             [this](dispatch::Scheduler& scheduler, std::uint16_t port) {
                               auto socket = std::make_shared<UDPSocket>(scheduler, port,
                                                                         [](std::string_view) {});
                               socket_ = socket;
                               return socket;
                             },
                         .getLocalIPAddress = [] { return "127.0.0.1"; },
                         .print = [](std::string_view) {},
                         .port = 0,  // any that is free
                     });
  }

  CaptureFactory fakeCapture() {
    return [this] {
      auto capture = std::make_unique<FakeCapture>();
      capture_ = capture.get();
      return capture;
    };
  }

  bool eventually(auto&& condition) {
    return test::eventually([&] {
      QCoreApplication::processEvents();
      return condition();
    });
  }

  void start() {
    server_->start();
    ASSERT_TRUE(eventually([&] { return server_->isRunning(); }));
  }
  /// Of the running server.
  std::uint16_t port() const {
    const auto socket = socket_.lock();
    return socket ? socket->port() : std::uint16_t{0};
  }
  std::optional<std::string> answerTo(UdpPeer& phone, std::string_view text) {
    phone.says(text);
    std::optional<std::string> answer;
    eventually([&] { return (answer = phone.heard()).has_value(); });
    return answer;
  }

  std::unique_ptr<dispatch::Scheduler> scheduler_ = dispatch::makeSystemScheduler();
  std::weak_ptr<UDPSocket> socket_;
  FakeCapture* capture_ = nullptr;
  std::unique_ptr<UDPAudioServer> server_ = makeServer(fakeCapture());
};

TEST_F(PanelWireTest, SpeaksWithSeveralPhones) {
  start();
  UdpPeer hello(port());
  UdpPeer ping(port());
  EXPECT_EQ(answerTo(hello, "<<HELLO>>"), "<<READY>>");
  EXPECT_EQ(answerTo(ping, "<<PING>>"), "<<PONG>>");
  EXPECT_EQ(answerTo(hello, "<<PING>>"), "<<PONG>>") << "no format line came between";

  wire::AudioChunk chunk{};
  for (std::size_t i = 0; i < chunk.size(); ++i) chunk[i] = static_cast<float>(i) * 1.5F;
  capture_->handler()(chunk);
  for (auto* phone : {&hello, &ping}) {
    const auto audio = phone->hears();
    ASSERT_EQ(audio.value_or("").size(), 3528U);
    EXPECT_EQ(std::memcmp(audio->data(), chunk.data(), 3528), 0) << "unchanged, unclipped floats";
  }

  ping.says("<<PING>><<STOP>>");
  EXPECT_EQ(answerTo(hello, "<<HELLO>>"), "<<READY>>");
  capture_->deliver();
  EXPECT_EQ(hello.hears().value_or("").size(), 3528U);
  EXPECT_EQ(ping.heard(), std::nullopt);
}

TEST_F(PanelWireTest, ABroadcastAllocatesNothing) {
  if (!test::allocationsAreCounted()) GTEST_SKIP() << "a sanitizer has its own allocator";
  start();
  std::vector<std::unique_ptr<UdpPeer>> phones;
  for (int i = 0; i < 100; ++i) {
    phones.push_back(std::make_unique<UdpPeer>(port()));
    ASSERT_EQ(answerTo(*phones.back(), "<<HELLO>>"), "<<READY>>");
  }
  const auto broadcast = capture_->handler();
  const auto before = test::allocationsOfThisThread();
  for (int i = 0; i < 50; ++i) broadcast(wire::AudioChunk{});
  EXPECT_EQ(test::allocationsOfThisThread(), before);
}

TEST_F(PanelWireTest, ManyComeAndGoWhileChunksFlow) {
  server_ = makeServer([] { return std::make_unique<ThreadedCapture>(); });
  for (int run = 0; run < 3; ++run) {
    start();
    std::vector<std::unique_ptr<UdpPeer>> phones;
    for (int i = 0; i < 200; ++i) {
      phones.push_back(std::make_unique<UdpPeer>(port()));
      phones.back()->says("<<HELLO>>");
      if (i % 20 == 0) QCoreApplication::processEvents();
    }
    EXPECT_TRUE(eventually([&] { return server_->clientCount() == 200; }))
        << server_->clientCount();
    for (const auto& phone : phones) {
      EXPECT_TRUE(phone->hears());
      phone->says("<<STOP>>");
    }
    EXPECT_TRUE(eventually([&] { return server_->clientCount() == 0; })) << server_->clientCount();
    phones[0]->says("<<HELLO>>");
    EXPECT_TRUE(eventually([&] { return server_->clientCount() == 1; }));
    if (run == 2) {
      server_.reset();  // without a stop, in the middle of it all
      return;
    }
    server_->stop();
    EXPECT_TRUE(eventually([&] { return !server_->isRunning(); }));
  }
}

}  // namespace
}  // namespace quorin::panel
