#include "stream/audio_sender.h"

#include "core/simulated_scheduler.h"
#include "stream/audio_frame_queue.h"

#include <gmock/gmock.h>

#include <vector>

namespace quorin::stream {
namespace {

using testing::ElementsAre;
using namespace std::chrono_literals;
using testing::IsEmpty;

wire::AudioChunk numbered(int number) {
  wire::AudioChunk chunk;
  chunk.fill(static_cast<float>(number));
  return chunk;
}

TEST(AudioFrameQueue, HoldsTenAndKeepsTheTwoNewestOfElevenWhereverItsStorageBegins) {
  AudioFrameQueue queue;
  const auto append = [&](int first, int last) {
    for (int i = first; i <= last; ++i) queue.append(numbered(i), {});
  };
  const auto takeAll = [&] {
    std::vector<int> numbers;
    wire::AudioChunk chunk;
    while (queue.take(chunk)) numbers.push_back(static_cast<int>(chunk.back()));
    return numbers;
  };
  for (int round = 0; round < 25; ++round) {
    append(1, 10);
    EXPECT_EQ(takeAll().size(), 10U);
    append(1, 11);
    EXPECT_THAT(takeAll(), ElementsAre(10, 11));
    append(1, 3);
    queue.clear();
    EXPECT_THAT(takeAll(), ElementsAre());
  }
  EXPECT_EQ(queue.overflowed(), 25U * 9);
}

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

TEST_F(AudioSenderTest, AStopEmptiesTheQueueWithOrWithoutATimerAndSoDoesClearing) {
  offer(1, 3);
  sender.stopAudioSendTimer();
  startTimer();
  offer(4, 6);
  EXPECT_THAT(first.take(), ElementsAre(4));
  sender.stopAudioSendTimer();
  startTimer();
  scheduler.advance(100ms);
  EXPECT_THAT(first.take(), IsEmpty());
  offer(7, 9);
  first.take();
  sender.clearAudioFrames();
  offer(10, 11);
  scheduler.advance(100ms);
  EXPECT_THAT(first.take(), ElementsAre(10, 11));
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

TEST_F(AudioSenderTest, ATickWaitsForAChunkThatIsLate) {
  startTimer();
  for (int i = 0; i < 250; ++i) {
    scheduler.advance(20ms);
    offer(i, i);
  }
  const auto before = sender.counters();
  scheduler.advance(20ms + 5ms);  // the ticks have settled 3 ms after each chunk
  offer(1000, 1000);
  EXPECT_EQ(first.sent.back(), 1000) << "on its arrival";
  EXPECT_EQ(sender.counters().lateTicks - before.lateTicks, 1U);
  EXPECT_EQ(sender.counters().starvedTicks, before.starvedTicks);
}

}  // namespace
}  // namespace quorin::stream
