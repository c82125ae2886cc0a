#include "platform/usb/frame_outbox.h"

#include "support/bytes.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>

namespace quorin::usb {
namespace {

using test::bytesOf;

/// An outbox and the peer at the other end of its stream. All payloads have five characters.
class FrameOutboxTest : public testing::Test {
 protected:
  static constexpr std::size_t kFrame = wire::kFrameHeaderBytes + 5;

  void live(char c) { outbox.appendLive(104, 0, bytesOf(std::string(5, c))); }
  void reliable(char c) {
    outbox.appendReliable({wire::encodeFrame(101, 0, bytesOf(std::string(5, c))),
                           [this, c](auto) { completed.push_back(c); }});
  }
  void peerTakes(std::size_t count = 1U << 30U) {
    while (count > 0 && !outbox.next().empty()) {
      const auto part = outbox.next().first(std::min(count, outbox.next().size()));
      for (const auto byte : part) stream += static_cast<char>(byte);
      count -= part.size();
      if (auto done = outbox.written(part.size())) done({});
    }
  }
  /// The first characters of the payloads that came.
  std::string peerSaw() const {
    std::string seen;
    for (std::size_t at = wire::kFrameHeaderBytes; at < stream.size(); at += kFrame) {
      seen += stream[at];
    }
    return seen;
  }

  FrameOutbox outbox;
  std::string stream;
  std::string completed;
};

TEST_F(FrameOutboxTest, WritesReliableFramesFirstAndKeepsTheTenNewestLiveOnes) {
  for (char c = 'a'; c <= 'm'; ++c) live(c);
  EXPECT_EQ(outbox.liveDropped(), 3U);
  reliable('1');
  reliable('2');
  peerTakes(kFrame - 1);
  EXPECT_EQ(completed, "");
  peerTakes(1);
  EXPECT_EQ(completed, "1");
  peerTakes();
  EXPECT_EQ(completed, "12");
  EXPECT_EQ(peerSaw(), "12defghijklm");
}

TEST_F(FrameOutboxTest, NeverCutsAFrameThatHasBegun) {
  for (std::size_t begun = 1; begun < kFrame; ++begun) {
    outbox = {};
    stream.clear();
    live('A');
    peerTakes(begun);
    for (char c = 'a'; c <= 'z'; ++c) live(c);
    reliable('1');
    peerTakes();
    EXPECT_EQ(peerSaw(), "A1qrstuvwxyz") << begun;
  }
}

}  // namespace
}  // namespace quorin::usb
