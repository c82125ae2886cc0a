#include "stream/audio_frame_queue.h"

#include "stream/chunk_ring.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace quorin::stream {
namespace {

using testing::ElementsAre;

TimedChunk numbered(int number) {
  TimedChunk chunk{};
  chunk.samples.fill(static_cast<float>(number));
  return chunk;
}

class AudioFrameQueueTest : public testing::Test {
 protected:
  void append(int first, int last) {
    for (int i = first; i <= last; ++i) dropped += queue.append(numbered(i));
  }

  std::vector<int> takeAll() {
    std::vector<int> numbers;
    while (const auto* chunk = queue.takeOldest()) {
      numbers.push_back(static_cast<int>(chunk->samples.back()));
    }
    return numbers;
  }

  AudioFrameQueue queue;
  std::size_t dropped = 0;
};

TEST_F(AudioFrameQueueTest, HoldsTenAndKeepsTheTwoNewestOfEleven) {
  append(1, 10);
  EXPECT_EQ(queue.size(), 10U);
  EXPECT_EQ(dropped, 0U);
  append(11, 11);
  EXPECT_EQ(dropped, 9U);
  EXPECT_THAT(takeAll(), ElementsAre(10, 11));
  append(12, 22);
  EXPECT_EQ(dropped, 18U);
  EXPECT_THAT(takeAll(), ElementsAre(21, 22)) << "wherever its storage begins";
}

TEST_F(AudioFrameQueueTest, StaysInOrderWhereverItsStorageBegins) {
  for (int round = 0; round < 25; ++round) {
    append(round * 3, round * 3 + 2);
    EXPECT_THAT(takeAll(), ElementsAre(round * 3, round * 3 + 1, round * 3 + 2));
  }
}

TEST(ChunkRing, RefusesWhatDoesNotFitAndKeepsTheRest) {
  ChunkRing ring;
  constexpr int kSlots = ChunkRing::kSlots;
  for (int i = 0; i < kSlots; ++i) EXPECT_TRUE(ring.push(numbered(i).samples, {}));
  EXPECT_FALSE(ring.push(numbered(kSlots).samples, {}));

  int expected = 0;
  ring.drain([&](const TimedChunk& chunk) {
    EXPECT_EQ(chunk.samples.front(), static_cast<float>(expected++));
  });
  EXPECT_EQ(expected, kSlots);
  EXPECT_TRUE(ring.push(numbered(kSlots).samples, {}));
}

TEST(ChunkRing, CarriesEveryChunkWholeBetweenTwoThreads) {
  constexpr int kChunks = 20'000;
  ChunkRing ring;
  std::thread capture([&] {
    for (int i = 0; i < kChunks; ++i) {
      const dispatch::TimePoint arrived{std::chrono::nanoseconds(i)};
      while (!ring.push(numbered(i).samples, arrived)) std::this_thread::yield();
    }
  });

  int next = 0;
  bool whole = true;
  while (next < kChunks) {
    ring.drain([&](const TimedChunk& chunk) {
      const auto number = static_cast<float>(next);
      whole = whole && chunk.arrived.time_since_epoch().count() == next &&
              chunk.samples.front() == number && chunk.samples.back() == number;
      ++next;
    });
    std::this_thread::yield();
  }
  capture.join();
  EXPECT_TRUE(whole);
}

}  // namespace
}  // namespace quorin::stream
