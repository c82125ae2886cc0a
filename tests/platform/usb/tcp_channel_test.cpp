#include "platform/dispatch/system_scheduler.h"
#include "platform/usb/channel.h"
#include "support/allocation_count.h"
#include "support/bytes.h"
#include "support/eventually.h"
#include "support/fake_phone.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <atomic>
#include <memory>
#include <optional>
#include <string>

/// Channels over real sockets, to a phone on this machine.
namespace quorin::usb {
namespace {

using namespace std::chrono_literals;
using test::Bytes;
using test::bytes;
using test::bytesOf;
using test::FakePhone;
using test::SentFrame;
using test::operator+;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr IPv4Address kLoopback = 0x7F000001;

/// Writes down what a channel says.
class Delegate : public PTChannelDelegate {
 public:
  std::uint32_t refusedType = 0xFFFFFFFF;
  bool closesOnRefusal = false;
  std::vector<SentFrame> frames;
  std::vector<std::error_code> ends;

  bool shouldAcceptFrame(PTChannel& channel, const FrameHeader& header) override {
    if (header.type != refusedType) return true;
    if (closesOnRefusal) channel.close();
    return false;
  }
  void didReceiveFrame(PTChannel&, const FrameHeader& header,
                       std::span<const std::byte> payload) override {
    frames.push_back({header.type, header.tag, test::toBytes(payload)});
  }
  void didEndWithError(PTChannel&, std::error_code error) override { ends.push_back(error); }
};

class TcpChannelTest : public testing::Test {
 protected:
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
    channel->connectToPort(listener.port(), kLoopback, [&](const auto& peer) {
      ASSERT_TRUE(peer);
      EXPECT_EQ(peer->text(), "127.0.0.1:" + std::to_string(listener.port()));
      isConnected = true;
    });
    ASSERT_FALSE(isConnected) << "answers later";
    ASSERT_TRUE(until([&] {
      if (!phone) phone = listener.accept();
      return isConnected && phone;
    }));
  }

  std::unique_ptr<dispatch::Scheduler> scheduler = dispatch::makeSystemScheduler();
  std::unique_ptr<dispatch::SerialQueue> sendQueue =
      scheduler->makeSerialQueue("PTExample.audioFrameQueue");
  std::unique_ptr<PTChannelFactory> factory = makeTcpChannelFactory(*scheduler, *sendQueue);
  std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>();
  test::PhoneListener listener;
  std::optional<FakePhone> phone;
  std::shared_ptr<PTChannel> channel = factory->channelWithDelegate(delegate);
};

TEST_F(TcpChannelTest, CarriesFramesBothWays) {
  connect();
  std::vector<std::error_code> written;
  channel->sendFrameOfType(101, 0xAABBCCDD, bytesOf("hi"), [&](auto e) { written.push_back(e); });
  EXPECT_THAT(written, IsEmpty()) << "answers later";
  ASSERT_TRUE(until([&] { return phone->stream.size() == 18 && !written.empty(); }));
  EXPECT_EQ(phone->stream,
            bytes({0, 0, 0, 1, 0, 0, 0, 101, 0xAA, 0xBB, 0xCC, 0xDD, 0, 0, 0, 2, 'h', 'i'}));
  EXPECT_THAT(written, ElementsAre(std::error_code()));

  phone->send(103, 7, {});
  phone->send(100, 0, Bytes(100'000, std::byte{9}));
  ASSERT_TRUE(until([&] { return delegate->frames.size() == 2; }));
  EXPECT_THAT(delegate->frames,
              ElementsAre(SentFrame{103, 7, {}}, SentFrame{100, 0, Bytes(100'000, std::byte{9})}));
}

TEST_F(TcpChannelTest, SaysThatNobodyListens) {
  std::optional<std::error_code> error;
  const auto port = test::PhoneListener().port();  // closed again
  channel->connectToPort(port, kLoopback, [&](const auto& peer) { error = peer.error(); });
  EXPECT_FALSE(error);
  ASSERT_TRUE(until([&] { return error.has_value(); }));
  EXPECT_EQ(*error, std::errc::connection_refused);
  channel->close();
  QCoreApplication::processEvents();
  EXPECT_THAT(delegate->ends, IsEmpty()) << "what never began has no end";
}

TEST_F(TcpChannelTest, ReportsItsEndOnceWhateverTheCause) {
  using Cause = void (*)(PTChannel&, FakePhone&, Delegate&);
  const struct {
    const char* name;
    Cause cause;
    std::error_code error;
  } cases[] = {
      {"closed here, twice",
       [](auto& here, auto&, auto&) {
         here.close();
         here.close();
       },
       {}},
      {"closed there", [](auto&, auto& there, auto&) { there.hangUp(); }, {}},
      {"broken", [](auto&, auto& there, auto&) { there.reset(); },
       std::make_error_code(std::errc::connection_reset)},
      {"cable pulled in the middle of a frame",
       [](auto&, auto& there, auto&) {
         there.sendBytes(bytes({0, 0, 0, 1, 0, 0, 0, 101, 0, 0, 0, 0, 0, 0, 0, 99, 1, 2}));
         there.hangUp();
       },
       {}},
      {"wrong version", [](auto&, auto& there, auto&) { there.sendBytes(Bytes(16)); },
       FrameError::kUnknownVersion},
      {"closed by its delegate on a frame",
       [](auto&, auto& there, auto& said) {
         said.refusedType = 99;
         said.closesOnRefusal = true;
         there.send(99, 0, bytesOf("x"));
         there.send(101, 0, bytesOf("not read any more"));
       },
       {}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    delegate = std::make_shared<Delegate>();
    channel = factory->channelWithDelegate(delegate);
    phone.reset();
    connect();
    row.cause(*channel, *phone, *delegate);
    EXPECT_THAT(delegate->ends, IsEmpty()) << "always later";
    ASSERT_TRUE(until([&] { return !delegate->ends.empty(); }));
    channel->close();
    for (int i = 0; i < 10; ++i) QCoreApplication::processEvents();
    ASSERT_EQ(delegate->ends.size(), 1U);
    EXPECT_EQ(delegate->ends.front().default_error_condition(),
              row.error.default_error_condition());
    EXPECT_THAT(delegate->frames, IsEmpty());
  }
}

TEST_F(TcpChannelTest, DeliversWhatWasSaidBeforeTheEndEvenWhileSending) {
  connect();
  const Bytes goodbye(60'000);  // not read in one go
  phone->send(101, 0, goodbye);
  phone->hangUp();
  for (int i = 0; i < 5; ++i) {
    channel->sendFrameOfType(102, channel->newTag(), {}, nullptr);
    onSendQueue([] {});  // so that writing fails before reading has found the end
  }
  ASSERT_TRUE(until([&] { return !delegate->ends.empty(); }));
  EXPECT_THAT(delegate->frames, ElementsAre(SentFrame{101, 0, goodbye}));
}

TEST_F(TcpChannelTest, ThrowsRefusedFramesAwayAndGoesOn) {
  connect();
  delegate->refusedType = 99;
  phone->send(99, 0, Bytes(200'000));
  phone->send(101, 0, bytesOf("hi"));
  ASSERT_TRUE(until([&] { return !delegate->frames.empty(); }));
  EXPECT_THAT(delegate->frames, ElementsAre(SentFrame{101, 0, bytesOf("hi")}));
}

TEST_F(TcpChannelTest, AnswersEverySendOnce) {
  std::vector<std::string> answers;
  const auto send = [&](const std::string& name) {
    channel->sendFrameOfType(101, 0, bytesOf(name), [&answers, name](std::error_code error) {
      answers.push_back(name + (error ? " failed" : " written"));
    });
  };
  send("too early");
  connect();
  send("in time");
  ASSERT_TRUE(until([&] { return answers.size() == 2; }));
  channel->close();
  send("too late");
  ASSERT_TRUE(until([&] { return answers.size() == 3; }));
  EXPECT_THAT(answers, ElementsAre("too early failed", "in time written", "too late failed"));
}

TEST_F(TcpChannelTest, APhoneThatStopsReadingCostsSoundButNeitherTimeNorMemory) {
  connect();
  const auto sender = channel->liveFrameSender();
  ASSERT_TRUE(sender);
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
  EXPECT_TRUE(allocations == 0 || !test::allocationsAreCounted()) << allocations;

  bool textIsWritten = false;
  channel->sendFrameOfType(101, 0, bytesOf("still here"),
                           [&](auto error) { textIsWritten = !error; });
  ASSERT_TRUE(
      until([&] { return textIsWritten && phone->frames.size() + sender->dropped() == 10'001; }));
  EXPECT_FALSE(phone->sawBrokenFrame);
  std::uint32_t last = 0;
  int texts = 0;
  for (const auto& frame : phone->frames) {
    if (frame.type == 101) {
      ++texts;
      continue;
    }
    EXPECT_GT(frame.tag, last);
    EXPECT_EQ(frame.payload, silence);
    last = frame.tag;
  }
  EXPECT_EQ(last, 10'000U) << "the newest chunks were kept";
  EXPECT_EQ(texts, 1);
}

TEST_F(TcpChannelTest, TheSenderMayOutliveItsChannel) {
  connect();
  const auto sender = channel->liveFrameSender();
  channel.reset();
  ASSERT_TRUE(until([&] { return phone->sawEnd; })) << "destroying a channel closes it";
  onSendQueue([&] {
    for (int i = 0; i < 3; ++i) sender->send(104, 0, Bytes(3528));
  });
  for (int i = 0; i < 10; ++i) QCoreApplication::processEvents();
  EXPECT_THAT(delegate->ends, IsEmpty());
}

TEST_F(TcpChannelTest, AChannelDestroyedWhileConnectingSaysNothing) {
  bool isCalled = false;
  channel->connectToPort(listener.port(), kLoopback, [&](const auto&) { isCalled = true; });
  channel.reset();
  ASSERT_TRUE(until([&] { return (phone = listener.accept()).has_value(); }));
  ASSERT_TRUE(until([&] { return phone->sawEnd; }));
  EXPECT_FALSE(isCalled);
}

TEST_F(TcpChannelTest, TagsAreFreshAndNotZero) {
  EXPECT_EQ(channel->newTag(), 1U);
  EXPECT_EQ(channel->newTag(), 2U);
}

}  // namespace
}  // namespace quorin::usb
