#include "stream/audio_frame_queue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace quorin::stream {
namespace {

using testing::ElementsAre;

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
  append(1, 1000);  // the pacing stood still
  EXPECT_THAT(takeAll().back(), 1000);
}

TEST(AudioFrameQueue, CarriesEveryChunkWholeAndSaysWhichIsWanted) {
  constexpr int kChunks = 2000;
  AudioFrameQueue queue;
  std::atomic<int> taken = 0;
  std::atomic<int> wanted = 0;
  std::thread capture([&] {
    for (int i = 0; i < kChunks; ++i) {
      while (i - taken > 5) std::this_thread::yield();
      wanted += queue.append(numbered(i), dispatch::TimePoint{std::chrono::nanoseconds(i)});
    }
  });
  bool whole = true;
  int missed = 0;  // each run of empty looks
  bool lookedInVain = false;
  wire::AudioChunk chunk;
  while (taken < kChunks) {
    const auto arrived = queue.take(chunk);
    missed += !arrived && !lookedInVain;
    lookedInVain = !arrived;
    if (!arrived) {
      std::this_thread::yield();
      continue;
    }
    const auto number = static_cast<float>(taken);
    whole = whole && arrived->time_since_epoch().count() == taken && chunk.front() == number &&
            chunk.back() == number;
    ++taken;
  }
  capture.join();
  EXPECT_TRUE(whole);
  EXPECT_EQ(wanted, missed);
  EXPECT_EQ(queue.overflowed(), 0U);
}

}  // namespace
}  // namespace quorin::stream
