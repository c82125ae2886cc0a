#include "wire/frame_reader.h"

#include "support/bytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace quorin::wire {
namespace {

using test::Bytes;
using test::bytes;
using test::bytesOf;
using test::operator+;
using testing::ElementsAre;

const Bytes kTextFrame =
    bytes({0, 0, 0, 1, 0, 0, 0, 101, 0xDE, 0xAD, 0xBE, 0xEF, 0, 0, 0, 2}) + bytesOf("hi");

TEST(Frame, IsFourBigEndianFieldsAndThePayload) {
  EXPECT_EQ(encodeFrame(101, 0xDEADBEEF, bytesOf("hi")), kTextFrame);
  EXPECT_EQ(encodeFrame(102, 7, {}), bytes({0, 0, 0, 1, 0, 0, 0, 102, 0, 0, 0, 7, 0, 0, 0, 0}));
}

/// Feeds a reader and writes down its steps, one line each.
class FrameReaderTest : public testing::Test {
 protected:
  void arrives(std::span<const std::byte> data) {
    while (!data.empty()) {
      const auto space = reader.space();
      const auto count = std::min(space.size(), data.size());
      std::ranges::copy(data.first(count), space.begin());
      reader.received(count);
      data = data.subspan(count);
      while (step()) {
      }
    }
  }

  bool step() {
    const auto step = reader.next();
    if (const auto* header = std::get_if<FrameReader::Header>(&step)) {
      steps.push_back("header " + std::to_string(header->type));
      if (header->type == refusedType) reader.skip();
      return true;
    }
    if (const auto* frame = std::get_if<FrameReader::Frame>(&step)) {
      lastPayload = test::toBytes(frame->payload);
      lastHeader = frame->header;
      steps.push_back("frame " + std::to_string(frame->header.type));
      return true;
    }
    if (std::holds_alternative<FrameReader::Broken>(step)) steps.emplace_back("broken");
    return false;
  }

  FrameReader reader;
  std::uint32_t refusedType = 0xFFFFFFFF;
  std::vector<std::string> steps;
  FrameHeader lastHeader;
  Bytes lastPayload;
};

TEST_F(FrameReaderTest, GivesTheHeaderAndThenTheFrameHoweverTheBytesAreCut) {
  for (std::size_t cut = 0; cut <= kTextFrame.size(); ++cut) {
    steps.clear();
    arrives(std::span(kTextFrame).first(cut));
    arrives(std::span(kTextFrame).subspan(cut));
    EXPECT_THAT(steps, ElementsAre("header 101", "frame 101")) << "cut at " << cut;
    EXPECT_EQ(lastPayload, bytesOf("hi"));
    EXPECT_EQ(lastHeader, (FrameHeader{101, 0xDEADBEEF, 2}));
  }
}

TEST_F(FrameReaderTest, ThrowsTheRefusedPayloadAwayAsItArrives) {
  refusedType = 7;
  arrives(encodeFrame(7, 0, Bytes(1'000'000)) + encodeFrame(7, 0, {}) + kTextFrame);
  EXPECT_THAT(steps, ElementsAre("header 7", "header 7", "header 101", "frame 101"));
  EXPECT_EQ(reader.capacity(), FrameReader::kInitialBytes);
}

TEST_F(FrameReaderTest, EndsTheStreamAtTheFirstWrongHeader) {
  const struct {
    std::string name;
    Bytes header;
    std::string step;
  } cases[] = {
      {"version 0", bytes({0, 0, 0, 0, 0, 0, 0, 101, 0, 0, 0, 0, 0, 0, 0, 0}), "broken"},
      {"version 2", bytes({0, 0, 0, 2, 0, 0, 0, 101, 0, 0, 0, 0, 0, 0, 0, 0}), "broken"},
      {"little-endian", bytes({1, 0, 0, 0, 101, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}), "broken"},
      {"1 MiB", bytes({0, 0, 0, 1, 0, 0, 0, 101, 0, 0, 0, 0, 0, 16, 0, 0}), "header 101"},
      {"a byte more", bytes({0, 0, 0, 1, 0, 0, 0, 101, 0, 0, 0, 0, 0, 16, 0, 1}), "broken"},
      {"4 GiB", bytes({0, 0, 0, 1, 0, 0, 0, 101, 0, 0, 0, 0, 255, 255, 255, 255}), "broken"},
  };
  for (const auto& wrong : cases) {
    reader = {};
    steps.clear();
    arrives(wrong.header);
    EXPECT_THAT(steps, ElementsAre(wrong.step)) << wrong.name;
  }
}

TEST_F(FrameReaderTest, StaysInErrorWhateverFollows) {
  arrives(bytes({9, 9, 9, 9, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  arrives(Bytes(100'000) + kTextFrame);
  EXPECT_EQ(std::ranges::count(steps, "broken"), std::ssize(steps));
}

TEST_F(FrameReaderTest, AllocatesForWhatHasComeNotForWhatIsAnnounced) {
  const auto whole = encodeFrame(101, 0, Bytes(kMaxPayloadBytes, std::byte{42}));
  EXPECT_EQ(reader.capacity(), 0U) << "nothing before the first byte";
  arrives(std::span(whole).first(16));
  reader.space();
  EXPECT_EQ(reader.capacity(), FrameReader::kInitialBytes);
  arrives(std::span(whole).subspan(16, 100'000));
  EXPECT_LE(reader.capacity(), 200'000U);
  arrives(std::span(whole).subspan(100'016));
  EXPECT_THAT(steps, ElementsAre("header 101", "frame 101"));
  EXPECT_EQ(lastPayload.size(), kMaxPayloadBytes);
  EXPECT_EQ(lastPayload.back(), std::byte{42});

  arrives(std::span(kTextFrame).first(3));
  reader.space();
  EXPECT_EQ(reader.capacity(), FrameReader::kInitialBytes) << "a large frame's memory is returned";
  arrives(std::span(kTextFrame).subspan(3));
  EXPECT_EQ(lastPayload, bytesOf("hi"));
}

TEST_F(FrameReaderTest, KeepsAStreamOfAudioFramesIntactAcrossTheBuffersEnd) {
  for (int i = 0; i < 100; ++i) {
    const auto filler = static_cast<std::byte>(i);
    arrives(encodeFrame(104, 0, Bytes(3528, filler)));
    ASSERT_EQ(lastPayload, Bytes(3528, filler)) << "frame " << i;
  }
  EXPECT_EQ(reader.capacity(), FrameReader::kInitialBytes);
}

}  // namespace
}  // namespace quorin::wire
