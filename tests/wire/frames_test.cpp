#include "support/bytes.h"
#include "wire/audio_chunk.h"
#include "wire/cable_frames.h"
#include "wire/frame.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <limits>
#include <string>
#include <tuple>

namespace quorin::wire {
namespace {

using test::Bytes;
using test::bytes;
using test::bytesOf;
using test::operator+;
using testing::Not;

const Bytes kTextFrame =
    bytes({0, 0, 0, 1, 0, 0, 0, 101, 0xDE, 0xAD, 0xBE, 0xEF, 0, 0, 0, 2}) + bytesOf("hi");

TEST(Frame, IsFourBigEndianFieldsAndThePayload) {
  EXPECT_EQ(encodeFrame(101, 0xDEADBEEF, bytesOf("hi")), kTextFrame);
}

/// A reader and what it gave: the types of headers and frames; type 7 is refused.
class FrameReaderTest : public testing::Test {
 protected:
  std::vector<std::string> arrives(std::span<const std::byte> data) {
    std::vector<std::string> steps;
    while (!data.empty()) {
      const auto piece = data.first(std::min<std::size_t>(4096, data.size()));
      reader.received(piece);
      data = data.subspan(piece.size());
      for (auto step = reader.next(); step.index() != 0; step = reader.next()) {
        if (const auto* header = std::get_if<FrameReader::Header>(&step)) {
          steps.push_back("header " + std::to_string(header->type));
          if (header->type == 7) reader.skip();
        } else if (const auto* frame = std::get_if<FrameReader::Frame>(&step)) {
          steps.push_back("frame " + std::to_string(frame->header.type));
          payload = test::toBytes(frame->payload);
        } else {
          steps.emplace_back("broken");
          break;
        }
      }
    }
    return steps;
  }

  FrameReader reader;
  Bytes payload;  ///< the last one
};

TEST_F(FrameReaderTest, GivesHeadersAndFramesAndIsBrokenForGood) {
  const auto header = [](int version, int type, const std::vector<int>& size) {
    Bytes result = bytes({0, 0, 0, version, 0, 0, 0, type, 0, 0, 0, 0});
    for (const int byte : size) result.push_back(static_cast<std::byte>(byte));
    return result;
  };
  const struct {
    const char* name;
    Bytes bytes;
    std::vector<std::string> steps;
  } cases[] = {
      {"a frame", kTextFrame, {"header 101", "frame 101"}},
      {"refused ones before it",
       encodeFrame(7, 0, Bytes(1'000'000)) + encodeFrame(7, 0, {}) + kTextFrame,
       {"header 7", "header 7", "header 101", "frame 101"}},
      {"without a payload", encodeFrame(102, 7, {}), {"header 102", "frame 102"}},
      {"1 MiB", header(1, 101, {0, 16, 0, 0}), {"header 101"}},
      {"a byte more", header(1, 101, {0, 16, 0, 1}), {"broken"}},
      {"4 GiB", header(1, 101, {255, 255, 255, 255}), {"broken"}},
      {"version 2", header(2, 101, {0, 0, 0, 0}), {"broken"}},
      {"little-endian", bytes({1, 0, 0, 0, 101, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}), {"broken"}},
  };
  for (const auto& row : cases) {
    for (const std::size_t cut : {0U, 1U, 15U, 16U, 17U}) {
      reader = {};
      const std::span all(row.bytes);
      const auto first = std::min(cut, all.size());
      auto steps = arrives(all.first(first));
      for (auto& step : arrives(all.subspan(first))) steps.push_back(step);
      EXPECT_EQ(steps, row.steps) << row.name << ", cut at " << cut;
    }
  }
  EXPECT_THAT(arrives(kTextFrame), Not(testing::Contains("frame 101"))) << "still broken";
}

TEST_F(FrameReaderTest, AllocatesForWhatHasComeNotForWhatIsAnnounced) {
  const auto whole = encodeFrame(101, 0, Bytes(kMaxPayloadBytes, std::byte{42}));
  EXPECT_EQ(reader.capacity(), 0U) << "nothing before the first byte";
  arrives(std::span(whole).first(16));
  EXPECT_LE(reader.capacity(), FrameReader::kMaxKept);
  arrives(std::span(whole).subspan(16, 100'000));
  EXPECT_LE(reader.capacity(), 200'000U);
  arrives(std::span(whole).subspan(100'016));
  EXPECT_EQ(payload, Bytes(kMaxPayloadBytes, std::byte{42}));
  arrives(kTextFrame);
  EXPECT_EQ(payload, bytesOf("hi"));
  EXPECT_LE(reader.capacity(), FrameReader::kMaxKept) << "a large frame's memory is returned";
}

TEST(CableText, IsReadWithinItsPayloadOnly) {
  const std::tuple<const char*, Bytes, const char*> rows[] = {
      {"a text", bytes({0, 0, 0, 5}) + bytesOf("hello"), "hello"},
      {"more bytes than text", bytes({0, 0, 0, 2}) + bytesOf("hello"), "he"},
      {"half a length", bytes({0, 0, 0}), "none"},
      {"a byte missing", bytes({0, 0, 0, 6}) + bytesOf("hello"), "none"},
      {"the largest length", bytes({255, 255, 255, 255}) + bytesOf("hello"), "none"},
      {"Latin-1", bytes({0, 0, 0, 1, 0xF1}), "none"},
  };
  for (const auto& [name, payload, expected] : rows) {
    const auto text = decodeText(payload);
    EXPECT_EQ(text.value_or("none"), expected) << name;
  }
}

TEST(Pcm16, ClipsScalesRoundsToEvenAndSilencesNaN) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  constexpr float kHalf = 0.5F / 32767;
  const float samples[] = {1.5F,   1.0F,        -1.0F,     -2.0F,      0.0F,
                           kNaN,   -kNaN,       kInfinity, -kInfinity, -0.0F,
                           1e-42F, 512 * kHalf, kHalf,     3 * kHalf,  -3 * kHalf};
  std::int16_t out[15];
  convertToPcm16(samples, out);
  EXPECT_THAT(out, testing::ElementsAre(32767, 32767, -32767, -32767, 0, 0, 0, 32767, -32767, 0, 0,
                                        256, 0, 2, -2));
}

}  // namespace
}  // namespace quorin::wire
