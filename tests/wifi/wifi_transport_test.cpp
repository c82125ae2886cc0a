#include "wifi/wifi_transport.h"

#include "platform/dispatch/system_scheduler.h"
#include "stream/audio_sender.h"
#include "support/allocation_count.h"
#include "support/eventually.h"
#include "wifi/wifi_fixture.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <atomic>
#include <thread>

namespace quorin::wifi {
namespace {

// The whole way of a chunk, on real threads.
TEST(WifiTransport, NothingIsAllocatedFromTheOfferToTheSend) {
  if (!test::allocationsAreCounted()) GTEST_SKIP() << "the sanitizer has its own allocator";
  const auto scheduler = dispatch::makeSystemScheduler();
  WifiTransport transport;
  const auto queue = stream::AudioSender::makeQueue(*scheduler);
  stream::AudioSender sender{*scheduler, *queue, {&transport}};
  const Phone phone(freePort());
  auto socket = network::DatagramSocket::open();
  ASSERT_FALSE(socket->connect({INADDR_LOOPBACK, 0}, phone.key()));
  transport.setServerRunning(true);
  transport.publishAudience(
      std::make_shared<Audience>(1, std::make_shared<const ClientSocket>(std::move(*socket))));
  sender.startAudioSendTimer();

  const auto byPacing = [&] {
    std::atomic<std::size_t> count = 0;
    std::atomic<bool> done = false;
    queue->async([&] {
      count = test::allocationsOfThisThread();
      done = true;
    });
    EXPECT_TRUE(test::eventually([&] { return done.load(); }));
    return count.load();
  };
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
  const auto before = byPacing();
  play(9);
  EXPECT_EQ(byPacing(), before);
  EXPECT_EQ(byCapture, 0U);
}

}  // namespace
}  // namespace quorin::wifi
