#include "usb/cable.h"

#include "core/simulated_scheduler.h"
#include "support/fake_cable.h"
#include "support/log_capture.h"
#include "usb/cable_frames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace quorin::usb {
namespace {

using namespace std::chrono_literals;
using test::Bytes;
using test::bytes;
using test::bytesOf;
using test::FakeChannel;
using test::SentFrame;
using test::operator+;
using testing::ElementsAre;
using testing::IsEmpty;

/// A cable in the cable mode, with a phone of number 5 plugged in.
class CableTest : public testing::Test {
 protected:
  CableTest() {
    cable.link().startListeningForDevices();
    cable.link().enterCableMode();
    hub.attach(5);
    scheduler.runPending();
    log.take();
  }

  std::shared_ptr<FakeChannel> connected() {
    const auto channel = channels.connecting("usb 5");
    channel->connects();
    scheduler.runPending();
    return channel;
  }
  /// The lines since the last call: "status: ..." or "message: ...".
  std::vector<std::string> console() { return std::exchange(lines_, {}); }

  test::LogCapture log;
  dispatch::SimulatedScheduler scheduler;
  test::FakeHub hub;
  test::FakeChannels channels{scheduler.mainQueue()};
  std::unique_ptr<dispatch::SerialQueue> sendQueue =
      scheduler.makeSerialQueue("PTExample.audioFrameQueue");
  std::vector<bool> display;
  std::vector<std::string> lines_;
  Cable cable{{scheduler, hub, channels},
              *sendQueue,
              {.onChannelChanged = [this](bool is) { display.push_back(is); },
               .presentMessage =
                   [this](std::string_view text, bool isStatus) {
                     lines_.push_back((isStatus ? "status: " : "message: ") + std::string(text));
                   },
               .willChangeConnectedDeviceID = {},
               .didChangeConnectedDeviceID = {}}};
};

// ---- Frames from the phone

TEST_F(CableTest, ShowsWhatThePhoneSays) {
  const auto info =
      bytesOf("<plist version=\"1.0\"><dict><key>name</key><string>Ana</string></dict></plist>");
  const struct {
    const char* name;
    std::uint32_t type;
    Bytes payload;
    std::vector<std::string> lines;
  } cases[] = {
      {"device information", 100, info, {"status: Connected to {\n    name = Ana;\n}"}},
      {"unreadable information",
       100,
       bytesOf("?"),
       {"status: Connected to (unreadable device information)"}},
      {"text", 101, bytes({0, 0, 0, 5}) + bytesOf("hello"), {"message: [5]: hello"}},
      {"cut text",
       101,
       bytes({0, 0, 0, 9}) + bytesOf("hello"),
       {"status: [5]: a text message that cannot be read: it is shorter than it says"}},
      {"end of stream", 0, {}, {}},
      {"a ping", 102, {}, {}},
      {"a pong nobody waits for", 103, {}, {}},
      {"audio", 104, Bytes(3528), {}},
  };
  const auto channel = connected();
  for (const auto& row : cases) {
    channel->phoneSends(row.type, 77, row.payload);
    scheduler.runPending();
    EXPECT_EQ(console(), row.lines) << row.name;
    EXPECT_EQ(cable.link().connectedChannel(), channel) << row.name;
  }
}

// ---- The end

TEST_F(CableTest, AFrameOfAnUnknownTypeEndsTheChannelAndTheSearchGoesOn) {
  for (const std::uint32_t type : {99U, 105U}) {
    const auto channel = connected();
    log.take();
    channel->phoneSends(type, 0, bytesOf("x"));
    EXPECT_TRUE(channel->isClosed);
    EXPECT_THAT(log.take(), ElementsAre("Unexpected frame of type " + std::to_string(type)));
    scheduler.runPending();
    EXPECT_THAT(console(), ElementsAre("status: Disconnected from 5"));
    EXPECT_EQ(cable.link().connectedDeviceID(), std::nullopt);
    EXPECT_FALSE(display.back());
  }
}

TEST_F(CableTest, TheEndOfAChannelThatIsNotHeldAnyMoreIsNotShown) {
  connected();
  cable.link().leaveCableMode();
  scheduler.runPending();
  EXPECT_THAT(console(), IsEmpty());
  EXPECT_EQ(cable.link().connectedDeviceID(), std::nullopt);
}

// ---- Texts to the phone

TEST_F(CableTest, SendsATextToThePhoneThatIsThereAndShowsIt) {
  EXPECT_FALSE(cable.sendMessage("hi"));
  EXPECT_THAT(console(), IsEmpty());
  const auto channel = connected();
  EXPECT_TRUE(cable.sendMessage("ñ!"));
  EXPECT_THAT(channel->sent, ElementsAre(SentFrame{101, 0, bytes({0, 0, 0, 3, 0xC3, 0xB1, '!'})}));
  EXPECT_THAT(console(), ElementsAre("message: [you]: ñ!"));

  log.take();
  const auto error = std::make_error_code(std::errc::broken_pipe);
  channel->writes(error);
  EXPECT_THAT(log.take(), ElementsAre("Failed to send message: " + error.message()));
}

// ---- Ping

TEST_F(CableTest, PingsOneSecondAfterTheLastPingWasWritten) {
  cable.ping();
  scheduler.advance(5s);
  const auto channel = connected();
  EXPECT_THAT(channel->sent, IsEmpty());
  scheduler.advance(1s);
  EXPECT_THAT(channel->sent, ElementsAre(SentFrame{102, 1, {}}));

  scheduler.advance(10s);
  EXPECT_EQ(channel->sent.size(), 1U) << "the next waits until this one is written";
  channel->writes();
  scheduler.advance(999ms);
  EXPECT_EQ(channel->sent.size(), 1U);
  scheduler.advance(1ms);
  EXPECT_THAT(channel->sent, ElementsAre(SentFrame{102, 1, {}}, SentFrame{102, 2, {}}));
}

TEST_F(CableTest, LogsTheRoundTripOncePerPing) {
  const auto channel = connected();
  cable.ping();
  channel->writes();
  log.take();
  scheduler.advance(12'345us);
  channel->phoneSends(103, 2, {});
  EXPECT_THAT(log.take(), IsEmpty()) << "a tag that was never sent";
  channel->phoneSends(103, 1, bytesOf("ignored"));
  EXPECT_THAT(log.take(), ElementsAre("Ping total roundtrip time: 12.345 ms"));
  channel->phoneSends(103, 1, {});
  EXPECT_THAT(log.take(), IsEmpty()) << "answered before";
}

TEST_F(CableTest, APingThatCannotBeSentIsForgottenAndTheLoopGoesOn) {
  const auto channel = connected();
  cable.ping();
  channel->writes(std::make_error_code(std::errc::no_buffer_space));
  log.take();
  channel->phoneSends(103, 1, {});
  EXPECT_THAT(log.take(), IsEmpty());
  scheduler.advance(1s);
  EXPECT_EQ(channel->sent.size(), 2U);
}

TEST_F(CableTest, TheLoopSurvivesTheEndOfItsChannel) {
  const auto first = connected();
  cable.ping();
  first->writes();
  first->cableBreaks();
  scheduler.runPending();
  const auto second = connected();
  log.take();
  second->phoneSends(103, 1, {});
  EXPECT_THAT(log.take(), IsEmpty()) << "the first channel's ping is not answered by the second";
  scheduler.advance(1s);
  EXPECT_THAT(second->sent, ElementsAre(SentFrame{102, 1, {}}));
}

TEST_F(CableTest, APhoneThatNeverAnswersCostsABoundedMemory) {
  CableLink& link = cable.link();
  const auto channel = connected();
  PingLoop pings(scheduler, link);
  pings.ping();
  for (int i = 0; i < 1000; ++i) {
    channel->writes();
    scheduler.advance(1s);
  }
  EXPECT_EQ(channel->sent.size(), 1001U);
  EXPECT_EQ(pings.unanswered(), PingLoop::kMaxUnanswered);
}

// ---- Audio

TEST_F(CableTest, AChunkIsOneFrameOfItsSamplesToThePhoneThatIsThere) {
  wire::AudioChunk chunk{};
  chunk[0] = 1.0F;
  chunk[881] = -0.5F;
  const auto sendOne = [&] {
    sendQueue->async([&] { cable.audioPath().send(chunk); });
    scheduler.runPending();
  };
  sendOne();
  const auto first = connected();
  EXPECT_TRUE(cable.audioPath().isOpen());
  sendOne();
  first->cableBreaks();
  scheduler.runPending();
  EXPECT_FALSE(cable.audioPath().isOpen());
  sendOne();
  const auto second = connected();
  sendOne();
  sendOne();
  EXPECT_EQ(second->live->sent.size(), 2U);
  const auto samples = bytes({0, 0, 0x80, 0x3F}) + Bytes(3528 - 8) + bytes({0, 0, 0, 0xBF});
  EXPECT_THAT(first->live->sent, ElementsAre(SentFrame{104, 0, samples}));
}

TEST_F(CableTest, AChannelThatOutlivesTheCableTellsItNothing) {
  std::shared_ptr<FakeChannel> channel;
  {
    Cable brief({scheduler, hub, channels}, *sendQueue, {});
    brief.link().startListeningForDevices();
    brief.link().enterCableMode();
    brief.ping();
    hub.attach(7);
    scheduler.runPending();
    channel = channels.connecting("usb 7");
    channel->connects();
    scheduler.runPending();
  }
  EXPECT_FALSE(hub.isListening());
  channel->cableBreaks();
  scheduler.advance(5s);
  EXPECT_EQ(channels.connecting("usb 7"), nullptr);
}

}  // namespace
}  // namespace quorin::usb
