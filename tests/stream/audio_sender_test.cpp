#include "stream/audio_sender.h"

#include "core/simulated_scheduler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorin::stream {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class FakeTransport : public Transport {
 public:
  bool isOpen() const override { return open; }
  bool hasListener() const override { return listens; }
  void send(wire::AudioChunkView samples) override {
    sent.push_back(static_cast<int>(samples.back()));
  }
  std::vector<int> take() { return std::exchange(sent, {}); }

  bool open = false;
  bool listens = false;
  std::vector<int> sent;
};

class AudioSenderTest : public testing::Test {
 protected:
  AudioSenderTest() { first.open = first.listens = true; }

  void offer(int from, int to) {
    wire::AudioChunk chunk;
    for (int i = from; i <= to; ++i) {
      chunk.fill(static_cast<float>(i));
      sender.offer(chunk);
    }
    scheduler.runPending();
  }
  void startTimer() {
    sender.startAudioSendTimer();
    scheduler.runPending();
  }

  dispatch::SimulatedScheduler scheduler;
  FakeTransport first;
  FakeTransport second;
  std::unique_ptr<dispatch::SerialQueue> queue = AudioSender::makeQueue(scheduler);
  AudioSender sender{scheduler, *queue, {&first, &second}};
};

TEST_F(AudioSenderTest, SendsOneChunkATickTheFirstAtOnce) {
  offer(1, 3);
  startTimer();
  startTimer();  // is not doubled
  EXPECT_THAT(first.take(), ElementsAre(1));
  scheduler.advance(20ms);
  EXPECT_THAT(first.take(), ElementsAre(2));
  scheduler.advance(70ms);
  EXPECT_THAT(first.take(), ElementsAre(3)) << "ticks without a chunk send nothing";
  offer(4, 6);
  scheduler.advance(5ms);
  EXPECT_THAT(first.take(), ElementsAre(4));
  scheduler.advance(10ms);
  EXPECT_THAT(first.take(), ElementsAre(5)) << "nor does one send two";
}

TEST_F(AudioSenderTest, AStopEmptiesTheQueueWithOrWithoutATimer) {
  offer(1, 3);
  sender.stopAudioSendTimer();
  startTimer();
  scheduler.advance(40ms);
  offer(4, 6);
  sender.stopAudioSendTimer();
  scheduler.advance(100ms);
  first.take();
  startTimer();
  scheduler.advance(100ms);
  EXPECT_THAT(first.take(), IsEmpty());
}

TEST_F(AudioSenderTest, TheFirstTransportWithAListenerGetsTheChunkAndClosedOnesDropIt) {
  struct Case {
    bool firstOpen, firstListens, secondOpen;
    std::size_t toFirst, toSecond;
    std::uint64_t withoutListener;
  };
  for (const auto& row : {Case{true, true, true, 1, 0, 0}, Case{true, false, true, 0, 1, 0},
                          Case{false, false, true, 0, 1, 0}, Case{true, false, false, 0, 0, 1},
                          Case{false, true, false, 0, 0, 0}}) {
    first.open = row.firstOpen;
    first.listens = row.firstListens;
    second.open = second.listens = row.secondOpen;
    const auto before = sender.counters().withoutListener;
    startTimer();
    offer(1, 1);
    scheduler.advance(40ms);
    EXPECT_EQ(first.take().size(), row.toFirst);
    EXPECT_EQ(second.take().size(), row.toSecond);
    EXPECT_EQ(sender.counters().withoutListener - before, row.withoutListener);
  }
}

TEST_F(AudioSenderTest, AListenerGetsNothingFromBeforeTheClearing) {
  offer(1, 3);
  sender.clearAudioFrames();
  offer(4, 5);
  startTimer();
  scheduler.advance(100ms);
  EXPECT_THAT(first.take(), ElementsAre(4, 5));
}

class FlowingSound : public AudioSenderTest {
 protected:
  FlowingSound() {
    startTimer();
    flow(5s);
    first.take();
    startedWith_ = sender.counters();
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
    ++offered_;
    offer(offered_, offered_);
  }
  /// The last chunk offered has been sent.
  bool allIsSent() const { return !first.sent.empty() && first.sent.back() == offered_; }
  std::uint64_t starved() const {
    return sender.counters().starvedTicks - startedWith_.starvedTicks;
  }
  std::uint64_t late() const { return sender.counters().lateTicks - startedWith_.lateTicks; }

 private:
  int offered_ = 0;
  AudioSender::Counters startedWith_;
};

TEST_F(FlowingSound, ATickWaitsForAChunkThatIsLateAndTheOthersStay) {
  scheduler.advance(20ms + 5ms);  // its tick was 2 ms ago
  offerOne();
  EXPECT_TRUE(allIsSent()) << "on its arrival";
  EXPECT_EQ(late(), 1U);

  scheduler.advance(15ms);
  offerOne();
  scheduler.advance(2900us);
  EXPECT_FALSE(allIsSent()) << "the next tick is not moved";
  scheduler.advance(200us);
  EXPECT_TRUE(allIsSent());
  EXPECT_EQ(starved(), 0U);
}

TEST_F(FlowingSound, IsInStepASecondAfterTheProgramStoodStill) {
  scheduler.jump(20s, 20s);
  for (int i = 0; i < 1000; ++i) offerOne();  // what the audio server kept meanwhile
  flow(1s);
  scheduler.advance(3100us);
  EXPECT_TRUE(allIsSent());
}

}  // namespace
}  // namespace quorin::stream
