#include "stream/audio_frame_queue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
}

}  // namespace
}  // namespace quorin::stream
