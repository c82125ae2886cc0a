#include "platform/usb/channel.h"

#include "platform/dispatch/system_scheduler.h"
#include "support/allocation_count.h"
#include "support/eventually.h"
#include "support/fake_phone.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <algorithm>
#include <atomic>
#include <memory>
#include <optional>
#include <string>

/// Channels over real sockets and threads, to a phone on this machine.
namespace quorin::usb {
namespace {

using test::Bytes;
using test::bytesOf;
using test::SentFrame;
using testing::ElementsAre;

constexpr std::uint16_t kPort = 2345;

class ChannelTest : public testing::Test, public PTChannelDelegate {
 protected:
  bool shouldAcceptFrame(PTChannel&, const wire::FrameHeader& header) override {
    return header.type != 99;
  }
  void didReceiveFrame(PTChannel&, const wire::FrameHeader& header,
                       std::span<const std::byte> payload) override {
    frames.push_back({header.type, header.tag, test::toBytes(payload)});
  }
  void didEndWithError(PTChannel&, std::error_code) override { ++ends; }

  bool until(auto&& condition) {
    return test::eventually([&] {
      QCoreApplication::processEvents();
      if (phone) phone->turn();
      return condition();
    });
  }
  /// Runs on the send queue and waits for it.
  void onSendQueue(dispatch::Task task) {
    std::atomic<bool> isDone = false;
    sendQueue->async([&] {
      task();
      isDone = true;
    });
    while (!isDone) {
    }
  }
  void connect() {
    bool isConnected = false;
    channel->connectToPort(kPort, 0x7F000001, [&](auto error) { isConnected = !error; });
    ASSERT_TRUE(until([&] {
      if (!phone) phone = listener.accept();
      return isConnected && phone;
    }));
  }

  std::unique_ptr<dispatch::Scheduler> scheduler = dispatch::makeSystemScheduler();
  std::unique_ptr<dispatch::SerialQueue> sendQueue = scheduler->makeSerialQueue("send");
  std::vector<SentFrame> frames;
  int ends = 0;
  test::PhoneListener listener{kPort};
  std::optional<test::FakePhone> phone;
  std::unique_ptr<PTChannel> channel = std::make_unique<PTChannel>(
      ChannelQueues{.send = *sendQueue, .main = scheduler->mainQueue()}, *this);
};

TEST_F(ChannelTest, DeliversWhatWasSaidBeforeTheEndEvenWhileSending) {
  connect();
  const Bytes goodbye(60'000);  // not read in one go
  phone->send(99, 0, Bytes(10'000));
  phone->send(101, 0, goodbye);
  phone->hangUp();
  for (int i = 0; i < 5; ++i) {
    channel->sendFrameOfType(102, channel->newTag(), {}, [](auto) {});
    onSendQueue([] {});  // so that writing fails before reading has found the end
  }
  ASSERT_TRUE(until([&] { return ends > 0; }));
  EXPECT_THAT(frames, ElementsAre(SentFrame{101, 0, goodbye})) << "type 99 is refused";
}

TEST_F(ChannelTest, AnswersEverySendOnce) {
  std::string answers;
  const auto sendAndWait = [&] {
    const auto before = answers.size();
    channel->sendFrameOfType(101, 0, bytesOf("text"),
                             [&](auto error) { answers += error ? "failed " : "written "; });
    EXPECT_TRUE(until([&] { return answers.size() > before; }));
  };
  sendAndWait();  // too early
  connect();
  sendAndWait();
  channel->close();
  sendAndWait();  // too late
  EXPECT_EQ(answers, "failed written failed ");
  EXPECT_EQ(ends, 1);
}

TEST_F(ChannelTest, APhoneThatStopsReadingCostsSoundButNeitherTimeNorMemory) {
  connect();
  const auto sender = channel->liveFrameSender();
  const Bytes silence(3528);
  std::uint32_t tag = 0;
  const auto sendChunks = [&](int count) {
    for (int i = 0; i < count; ++i) sender->send(104, ++tag, silence);
  };
  onSendQueue([&] { sendChunks(5000); });  // the phone does not read
  EXPECT_GT(sender->dropped(), 0U);
  std::size_t allocations = 0;
  onSendQueue([&] {
    const auto before = test::allocationsOfThisThread();
    sendChunks(5000);
    allocations = test::allocationsOfThisThread() - before;
  });
  EXPECT_EQ(allocations, 0U);

  bool textIsWritten = false;
  channel->sendFrameOfType(101, 0, bytesOf("still here"),
                           [&](auto error) { textIsWritten = !error; });
  ASSERT_TRUE(
      until([&] { return textIsWritten && phone->frames.size() + sender->dropped() == 10'001; }));
  EXPECT_FALSE(phone->sawBrokenFrame);
  EXPECT_EQ(std::ranges::max(phone->frames, {}, &SentFrame::tag).tag, 10'000U)
      << "the newest chunks were kept";

  channel.reset();
  ASSERT_TRUE(until([&] { return phone->sawEnd; })) << "destroying a channel closes it";
  onSendQueue([&] { sendChunks(3); });
  QCoreApplication::processEvents();
  EXPECT_EQ(ends, 0);
}

}  // namespace
}  // namespace quorin::usb
