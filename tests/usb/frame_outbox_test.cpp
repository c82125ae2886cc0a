#include "platform/usb/frame_outbox.h"

#include "support/bytes.h"

#include <gtest/gtest.h>

namespace quorin::usb {
namespace {

using test::Bytes;
using test::bytesOf;

TEST(FrameOutbox, FinishesTheFrameThatHasBegunThenReliableOnesThenTheTenNewestLiveOnes) {
  const auto frameOf = [](char c) { return wire::encodeFrame(104, 0, bytesOf(std::string(5, c))); };
  Bytes expected;
  for (const char c : std::string("A1qrstuvwxyz")) expected = test::operator+(expected, frameOf(c));
  for (std::size_t begun = 1; begun < frameOf('A').size(); ++begun) {
    FrameOutbox outbox;
    Bytes stream;
    bool isComplete = false;
    const auto peerTakes = [&](std::size_t count) {
      const auto part = outbox.next().first(count);
      stream.insert(stream.end(), part.begin(), part.end());
      if (auto written = outbox.written(count)) written({});
    };
    EXPECT_FALSE(outbox.appendLive(104, 0, bytesOf("AAAAA")));
    peerTakes(begun);
    for (char c = 'a'; c <= 'z'; ++c) {
      EXPECT_EQ(outbox.appendLive(104, 0, bytesOf(std::string(5, c))), c > 'j');
    }
    outbox.appendReliable(
        {frameOf('1'), [&](auto) { isComplete = stream.back() == std::byte{'1'}; }});
    while (!outbox.next().empty()) peerTakes(outbox.next().size());
    EXPECT_EQ(stream, expected) << begun;
    EXPECT_TRUE(isComplete);
  }
}

}  // namespace
}  // namespace quorin::usb
