#include "platform/usb/frame_outbox.h"

#include "support/bytes.h"
#include "wire/frame_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace quorin::usb {
namespace {

using test::Bytes;
using test::bytesOf;
using testing::ElementsAre;
using testing::IsEmpty;

/// An outbox and the peer at the other end of its stream, who sees frames as "type:payload".
class FrameOutboxTest : public testing::Test {
 protected:
  void live(const std::string& payload) { outbox.appendLive(104, 0, bytesOf(payload)); }
  bool reliable(int id, const std::string& payload) {
    FrameOutbox::Reliable frame{wire::encodeFrame(101, 0, bytesOf(payload)),
                                [this, id](auto) { completed.push_back(id); }};
    if (!outbox.hasRoomFor(frame)) return false;
    outbox.appendReliable(std::move(frame));
    return true;
  }

  /// The peer takes `count` bytes, as they come.
  void peerTakes(std::size_t count) {
    while (count > 0 && !outbox.next().empty()) {
      const auto part = outbox.next().first(std::min(count, outbox.next().size()));
      stream.insert(stream.end(), part.begin(), part.end());
      count -= part.size();
      if (auto done = outbox.written(part.size())) done({});
    }
  }
  void peerTakesAll() { peerTakes(1U << 30U); }

  std::vector<std::string> peerSaw() const {
    std::vector<std::string> frames;
    wire::FrameReader reader;
    for (const auto byte : stream) {
      reader.space().front() = byte;
      reader.received(1);
      for (auto step = reader.next(); step.index() != 0; step = reader.next()) {
        if (std::holds_alternative<wire::FrameReader::Broken>(step))
          return {"the stream is broken"};
        if (const auto* frame = std::get_if<wire::FrameReader::Frame>(&step)) {
          const std::string payload(reinterpret_cast<const char*>(frame->payload.data()),
                                    frame->payload.size());
          frames.push_back(std::to_string(frame->header.type) + ":" + payload);
        }
      }
    }
    return frames;
  }

  FrameOutbox outbox;
  Bytes stream;
  std::vector<int> completed;
};

TEST_F(FrameOutboxTest, WritesReliableFramesFirstAndSaysWhenEachIsDone) {
  live("audio");
  EXPECT_TRUE(reliable(1, "one"));
  EXPECT_TRUE(reliable(2, "two"));
  peerTakes(wire::kFrameHeaderBytes + 2);
  EXPECT_THAT(completed, IsEmpty());
  peerTakes(1);
  EXPECT_THAT(completed, ElementsAre(1));
  peerTakesAll();
  EXPECT_THAT(completed, ElementsAre(1, 2));
  EXPECT_THAT(peerSaw(), ElementsAre("101:one", "101:two", "104:audio"));
}

TEST_F(FrameOutboxTest, KeepsTheTenNewestLiveFramesAndCountsTheRest) {
  EXPECT_TRUE(outbox.next().empty());
  for (char c = 'a'; c <= 'm'; ++c) live({c});
  EXPECT_EQ(outbox.liveDropped(), 3U);
  peerTakesAll();
  EXPECT_THAT(peerSaw(), ElementsAre("104:d", "104:e", "104:f", "104:g", "104:h", "104:i", "104:j",
                                     "104:k", "104:l", "104:m"));
}

TEST_F(FrameOutboxTest, NeverCutsAFrameThatHasBegun) {
  for (std::size_t begun = 1; begun < wire::kFrameHeaderBytes + 5; ++begun) {
    SCOPED_TRACE(begun);
    outbox = {};
    stream.clear();
    live("first");
    peerTakes(begun);
    for (char c = 'a'; c <= 'z'; ++c) live({c});
    EXPECT_TRUE(reliable(1, "text"));
    peerTakesAll();
    ASSERT_EQ(peerSaw().size(), 12U);
    EXPECT_EQ(peerSaw().at(0), "104:first");
    EXPECT_EQ(peerSaw().at(1), "101:text");
    EXPECT_EQ(peerSaw().at(2), "104:q");
    EXPECT_EQ(outbox.liveDropped(), 16U);
  }
}

TEST_F(FrameOutboxTest, NeverDropsAReliableFrameButTakesNoMoreThanItHasRoomFor) {
  const std::string large(400'000, 'x');
  EXPECT_TRUE(reliable(1, large));
  EXPECT_TRUE(reliable(2, large));
  EXPECT_FALSE(reliable(3, large));
  for (int i = 0; i < 100; ++i) live("audio");
  EXPECT_TRUE(reliable(4, "small")) << "what still fits is taken";
  peerTakesAll();
  EXPECT_THAT(completed, ElementsAre(1, 2, 4));
  EXPECT_TRUE(reliable(5, std::string(2'000'000, 'y'))) << "one frame always fits";
}

}  // namespace
}  // namespace quorin::usb
