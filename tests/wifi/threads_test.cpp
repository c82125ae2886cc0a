#include "platform/dispatch/system_scheduler.h"
#include "support/allocation_count.h"
#include "support/eventually.h"
#include "wifi/wifi_fixture.h"
#include "wire/control_message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <atomic>
#include <thread>

// The server and the sender on real threads and in real time.
namespace quorin::wifi {
namespace {

using namespace std::chrono_literals;
using test::eventually;

class ThreadsTest : public testing::Test {
 protected:
  ThreadsTest() { server.startUDP(std::to_string(port)); }

  /// Lets the main queue run until `condition` holds.
  static bool runUntil(auto&& condition) {
    return eventually([&] {
      QCoreApplication::processEvents();
      return condition();
    });
  }

  /// Registers a phone. Its socket may be used by any one thread afterwards.
  void registerPhone(Phone& phone) {
    const auto before = server.clientCount();
    // Again and again, as phones do: a socket that a restart has just given up may swallow one.
    ASSERT_TRUE(runUntil([&] {
      if (server.clientCount() == before) phone.says(wire::kHello);
      QCoreApplication::processEvents();
      return server.clientCount() > before;
    }));
    runOnPacingQueue([] {});  // the clearing that the join asks for would take what is offered now
  }

  /// Returns when `task` has run there, behind all that was posted before it.
  void runOnPacingQueue(auto&& task) {
    std::atomic<bool> done = false;
    queue->async([&] {
      task();
      done = true;
    });
    ASSERT_TRUE(eventually([&] { return done.load(); }));
  }

  std::size_t allocationsOfPacingThread() {
    std::size_t count = 0;
    runOnPacingQueue([&] { count = test::allocationsOfThisThread(); });
    return count;
  }

  const std::uint16_t port = freePort();
  std::unique_ptr<dispatch::Scheduler> scheduler = dispatch::makeSystemScheduler();
  FakeCable cable;
  RecordingListener listener;
  WifiTransport transport;
  std::unique_ptr<dispatch::SerialQueue> queue = stream::AudioSender::makeQueue(*scheduler);
  stream::AudioSender sender{*scheduler, *queue, {&transport, &cable}};
  UdpServer server{*scheduler, sender, transport, listener};
};

TEST_F(ThreadsTest, AllocateNothingFromTheOfferToTheSend) {
  Phone phone(port);
  registerPhone(phone);
  sender.startAudioSendTimer();
  const auto chunk = chunkOf(0.5F);
  std::size_t byCapture = 0;
  const auto play = [&](std::uint64_t chunks) {
    const auto goal = transport.datagramsSent() + chunks;
    std::thread([&] {
      const auto before = test::allocationsOfThisThread();
      for (std::uint64_t i = 0; i < chunks; ++i) sender.offer(chunk);
      byCapture = test::allocationsOfThisThread() - before;
    }).join();
    ASSERT_TRUE(eventually([&] { return transport.datagramsSent() == goal; }));
  };

  play(2);
  const auto before = allocationsOfPacingThread();
  play(9);
  EXPECT_EQ(allocationsOfPacingThread(), before);
  EXPECT_EQ(byCapture, 0U);
  if (!test::allocationsAreCounted()) GTEST_SKIP() << "the sanitizer has its own allocator";
}

TEST_F(ThreadsTest, SurviveRestartsUnderSound) {
  sender.startAudioSendTimer();
  std::atomic<bool> done = false;
  std::thread capture([&] {
    const auto chunk = chunkOf(0.25F);
    while (!done) {
      sender.offer(chunk);
      std::this_thread::sleep_for(1ms);
    }
  });

  Phone phone(port);
  for (int i = 0; i < 100; ++i) {
    registerPhone(phone);
    if (i % 10 == 0) {
      phone.hears();
      const auto before = transport.datagramsSent();
      EXPECT_TRUE(runUntil([&] { return transport.datagramsSent() > before; }));
    }
    server.restartUDPForNetworkChange(std::to_string(port));
    ASSERT_TRUE(server.isRunning()) << "a send under way must not keep the port from us";
  }
  done = true;
  capture.join();
}

/// Sends 49,000 datagrams a second that nobody wants, from ever new ports, for `milliseconds`.
void flood(const sockaddr_in& server, int milliseconds) {
  const std::string texts[] = {
      "<<PING>>", "<<HELLO>>", "<<STOP>>", "rubbish", "\xFF\xFE", std::string(1400, 'x'), ""};
  auto next = std::chrono::steady_clock::now();
  for (int i = 0; i < milliseconds; ++i) {
    for (int source = 0; source < 7; ++source) {
      const posix::FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
      for (const auto& text : texts) {
        (void)::sendto(socket.get(), text.data(), text.size(), 0,
                       reinterpret_cast<const sockaddr*>(&server), sizeof server);
      }
    }
    std::this_thread::sleep_until(next += 1ms);
  }
}

TEST_F(ThreadsTest, KeepSendingThroughAFlood) {
  constexpr int kChunks = 150;  // 3 s
  Phone phone(port);
  registerPhone(phone);
  sender.startAudioSendTimer();
  const auto memoryBefore = test::memoryInUse();

  std::atomic<int> running = 2;
  std::atomic<int> heard = 0;
  const auto address = wire::Endpoint{.address = INADDR_LOOPBACK, .port = port}.socketAddress();
  std::thread attacker([&] {
    flood(address, kChunks * 20);
    --running;
  });
  const auto listen = [&] {
    for (const auto& datagram : phone.hears()) heard += datagram.size() == 1764 ? 1 : 0;
  };
  std::thread captureAndPhone([&] {
    const auto chunk = chunkOf(0.25F);
    auto next = std::chrono::steady_clock::now();
    for (int i = 0; i < kChunks; ++i) {
      sender.offer(chunk);
      std::this_thread::sleep_until(next += 20ms);
      listen();
      if (i % 10 == 0) phone.says(wire::kPing);
    }
    --running;
  });

  int answersOfTheInterface = 0;
  const auto interface = scheduler->mainQueue().makeTimer({.first = 10ms, .interval = 10ms},
                                                          [&] { ++answersOfTheInterface; });
  while (running > 0) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
  attacker.join();
  captureAndPhone.join();
  const auto expected = [&] { return kChunks - static_cast<int>(sender.counters().overflowed); };
  EXPECT_TRUE(eventually([&] {
    listen();
    return heard == expected();
  })) << "a client's sound goes on, and the last of it is still on its way";

  const auto grown =
      (static_cast<double>(test::memoryInUse()) - static_cast<double>(memoryBefore)) / 1e6;
  EXPECT_GT(answersOfTheInterface, kChunks / 5) << "the interface still answers";
  EXPECT_LT(grown, 20) << "nobody's ports are remembered without bound";
  EXPECT_LE(server.clientCount(), ClientTable::kMaxClients);
}

}  // namespace
}  // namespace quorin::wifi
