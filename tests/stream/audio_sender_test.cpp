#include "stream/audio_sender.h"

#include "wifi/wifi_fixture.h"
#include "wire/control_message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorin::wifi {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class AudioSenderTest : public WifiTest, public testing::Test {
 protected:
  /// Chunks whose samples arrive as the numbers `first` to `last`.
  void offer(int first, int last) {
    for (int i = first; i <= last; ++i) sender.offer(chunkOf(static_cast<float>(i) / 32767.0F));
    scheduler.runPending();
  }

  /// The numbers of the audio datagrams that have reached the phone.
  static std::vector<int> soundAt(Phone& phone) {
    std::vector<int> numbers;
    for (const auto& datagram : phone.hears()) {
      const auto number = static_cast<unsigned char>(datagram[0]);
      EXPECT_EQ(datagram, datagramOf(number));
      numbers.push_back(number);
    }
    return numbers;
  }
};

TEST_F(AudioSenderTest, SendsTheBytesOfAChunkToEveryClient) {
  start();
  auto first = newClient();
  auto second = newClient();
  auto stranger = newPhone();
  phoneSays(stranger, "<<PING>>");
  sender.startAudioSendTimer();
  scheduler.advance(1ms);

  capture({1.5F, -1.0F});

  for (auto* phone : {&first, &second}) {
    EXPECT_THAT(phone->hears(), ElementsAre(datagramOf(32767), datagramOf(-32767)));
  }
  EXPECT_THAT(stranger.hears(), ElementsAre(wire::kPong)) << "a ping alone brings no sound";
}

TEST_F(AudioSenderTest, SendsOneChunkATickTheFirstAtOnce) {
  start();
  auto phone = newClient();
  offer(1, 3);
  sender.startAudioSendTimer();
  scheduler.runPending();
  EXPECT_THAT(soundAt(phone), ElementsAre(1));
  scheduler.advance(20ms);
  EXPECT_THAT(soundAt(phone), ElementsAre(2));
  scheduler.advance(60ms);
  EXPECT_THAT(soundAt(phone), ElementsAre(3)) << "ticks without a chunk send nothing";
  offer(4, 5);
  scheduler.advance(20ms);
  EXPECT_THAT(soundAt(phone), ElementsAre(4)) << "and are not made up for";
}

TEST_F(AudioSenderTest, NeverDoublesTheTimer) {
  start();
  auto phone = newClient();
  sender.startAudioSendTimer();
  sender.startAudioSendTimer();
  scheduler.advance(1ms);
  offer(1, 4);
  scheduler.advance(40ms);
  EXPECT_THAT(soundAt(phone), ElementsAre(1, 2));
}

TEST_F(AudioSenderTest, EmptiesTheQueueWhenStoppedWithOrWithoutATimer) {
  start();
  auto phone = newClient();
  offer(1, 3);
  sender.stopAudioSendTimer();
  sender.startAudioSendTimer();
  scheduler.advance(40ms);
  EXPECT_THAT(soundAt(phone), IsEmpty());

  offer(4, 6);
  sender.stopAudioSendTimer();
  scheduler.advance(100ms);
  sender.startAudioSendTimer();
  scheduler.advance(100ms);
  EXPECT_THAT(soundAt(phone), IsEmpty());
}

TEST_F(AudioSenderTest, DropsWhatNobodyCouldGet) {
  offer(1, 3);
  start();
  auto phone = newClient();
  sender.startAudioSendTimer();
  scheduler.advance(100ms);
  EXPECT_THAT(soundAt(phone), IsEmpty()) << "the server did not run when they were offered";
}

TEST_F(AudioSenderTest, ChoosesWifiThenTheCableThenNobody) {
  start();
  sender.startAudioSendTimer();
  scheduler.advance(1ms);

  offer(1, 1);
  scheduler.advance(20ms);
  EXPECT_EQ(sender.counters().unheard, 1U);

  cable.open = true;
  offer(2, 2);
  scheduler.advance(20ms);
  EXPECT_THAT(cable.firstSamples, ElementsAre(2 / 32767.0F)) << "no client: unconverted";

  auto phone = newClient();
  offer(3, 3);
  scheduler.advance(20ms);
  EXPECT_EQ(cable.firstSamples.size(), 1U) << "a client takes it all";
  EXPECT_THAT(soundAt(phone), ElementsAre(3));

  phoneSays(phone, "<<STOP>>");
  offer(4, 4);
  scheduler.advance(20ms);
  EXPECT_EQ(cable.firstSamples.size(), 2U);

  server.stopUDP();
  sender.startAudioSendTimer();
  scheduler.advance(1ms);
  offer(5, 5);
  scheduler.advance(20ms);
  EXPECT_EQ(cable.firstSamples.size(), 3U) << "the cable needs no server";
}

TEST_F(AudioSenderTest, BeginsTheFirstClientsSoundAfterItJoined) {
  start();
  offer(1, 3);
  auto first = newClient();
  offer(4, 5);
  auto second = newClient();
  sender.startAudioSendTimer();
  scheduler.advance(100ms);
  EXPECT_THAT(soundAt(first), ElementsAre(4, 5)) << "a second client empties nothing";
  EXPECT_THAT(soundAt(second), ElementsAre(4, 5));
}

TEST_F(AudioSenderTest, SendsNothingToWhoLeftFellSilentOrWasForgotten) {
  start();
  sender.startAudioSendTimer();
  auto left = newClient();
  auto staying = newClient();
  phoneSays(left, "<<STOP>>");
  offer(1, 1);
  scheduler.advance(20ms);
  EXPECT_THAT(soundAt(left), IsEmpty());
  EXPECT_THAT(soundAt(staying), ElementsAre(1));

  server.restartUDPForNetworkChange(portText);
  offer(2, 2);
  scheduler.advance(20ms);
  EXPECT_THAT(soundAt(staying), IsEmpty());

  phoneSays(staying, "<<HELLO>>");
  EXPECT_EQ(staying.hears().size(), 2U);
  offer(3, 3);
  scheduler.advance(20ms);
  EXPECT_THAT(soundAt(staying), ElementsAre(3)) << "the timer went on meanwhile";
  scheduler.advance(10s);
  offer(4, 4);
  scheduler.advance(20ms);
  EXPECT_THAT(soundAt(staying), IsEmpty());
}

TEST_F(AudioSenderTest, FollowsACaptureClockThatIsNotOurs) {
  start();
  auto phone = newClient();
  sender.startAudioSendTimer();
  const auto fastChunk = std::chrono::nanoseconds(20'000'000 - 4'000);  // 200 ppm
  const auto play = [&](std::chrono::seconds length) {
    for (auto left = dispatch::Duration(length); left > 0s; left -= fastChunk) {
      sender.offer(chunkOf(0));
      scheduler.advance(fastChunk);
      if (left % 2s < fastChunk) phoneSays(phone, "<<PING>>");
      phone.hears();
    }
  };
  play(2s);
  const auto before = sender.counters();
  play(600s);
  const auto after = sender.counters();
  EXPECT_EQ(after.starvedTicks, before.starvedTicks);
  EXPECT_EQ(after.overflowed, 0U);
  EXPECT_NEAR(static_cast<double>(after.sent - before.sent), 30'006, 2);
}

class FlowingSound : public AudioSenderTest {
 protected:
  FlowingSound() {
    start();
    cable.open = true;
    sender.startAudioSendTimer();
    flow(5s);
    startedWith_ = sender.counters().starvedTicks;
  }

  /// A chunk every 20 ms. At its end one has just been offered, and the ticks have settled to come
  /// 3 ms after each.
  void flow(std::chrono::milliseconds length) {
    for (; length > 0ms; length -= 20ms) {
      scheduler.advance(20ms);
      offerOne();
    }
  }
  void offerOne() {
    sender.offer(chunkOf(static_cast<float>(++offered_)));
    scheduler.runPending();
  }
  /// The last chunk offered has been sent.
  bool allIsSent() const {
    return !cable.firstSamples.empty() && cable.firstSamples.back() == static_cast<float>(offered_);
  }
  std::uint64_t starvedTicks() const { return sender.counters().starvedTicks - startedWith_; }

 private:
  int offered_ = 0;
  std::uint64_t startedWith_ = 0;
};

TEST_F(FlowingSound, HasATickWaitForAChunkThatIsLateAndTheOthersStay) {
  scheduler.advance(20ms + 5ms);  // its tick was 2 ms ago
  offerOne();
  EXPECT_TRUE(allIsSent()) << "on its arrival";
  EXPECT_EQ(sender.counters().lateTicks, 1U);

  scheduler.advance(15ms);
  offerOne();
  scheduler.advance(2900us);
  EXPECT_FALSE(allIsSent()) << "the next tick is not moved";
  scheduler.advance(200us);
  EXPECT_TRUE(allIsSent());
  EXPECT_EQ(starvedTicks(), 0U);
}

TEST_F(FlowingSound, GivesUpAChunkBeyondTheLeeway) {
  scheduler.advance(20ms + 8100us);
  offerOne();
  EXPECT_EQ(starvedTicks(), 1U);
  EXPECT_FALSE(allIsSent());
  scheduler.advance(11900us);
  offerOne();
  scheduler.advance(2900us);
  EXPECT_FALSE(allIsSent());
  scheduler.advance(200us);
  EXPECT_FALSE(allIsSent()) << "no tick sends two";
  EXPECT_EQ(sender.counters().lateTicks, 1U);
}

TEST_F(FlowingSound, WaitsForNothingOnceItHasEnded) {
  scheduler.advance(200ms);
  EXPECT_EQ(sender.counters().lateTicks, 1U);
  EXPECT_EQ(starvedTicks(), 9U);
}

TEST_F(FlowingSound, SaysWhenChunksAreNeededAndWatchesForOneOfFive) {
  const auto asItComes = dispatch::TimePoint::min();
  int watched = 0;
  for (int i = 0; i < 10; ++i) {
    flow(20ms);
    const auto neededAt = sender.chunkNeededAt();
    if (neededAt == asItComes) {
      ++watched;
    } else {
      EXPECT_EQ(neededAt - scheduler.now(), 21ms) << "2 ms before its tick";
    }
  }
  EXPECT_EQ(watched, 2);

  scheduler.advance(40ms);
  EXPECT_EQ(sender.chunkNeededAt(), asItComes) << "after a tick without a chunk";
  flow(5s);
  sender.stopAudioSendTimer();
  scheduler.runPending();
  EXPECT_EQ(sender.chunkNeededAt(), asItComes) << "without a timer";
}

TEST_F(FlowingSound, PlansByTheTicksThatShouldHaveBeen) {
  do flow(20ms);
  while (sender.chunkNeededAt() == dispatch::TimePoint::min());
  const auto neededAt = sender.chunkNeededAt();
  scheduler.jump(13ms, 13ms);
  scheduler.runPending();
  ASSERT_TRUE(allIsSent()) << "10 ms after its tick";
  EXPECT_EQ(sender.chunkNeededAt(), neededAt);
}

}  // namespace
}  // namespace quorin::wifi
