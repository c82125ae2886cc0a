#include "measure/wav_file.h"

#include "support/temporary_directory.h"

#include <gmock/gmock.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <span>

namespace quorin::measure {
namespace {

using testing::HasSubstr;
using testing::SizeIs;

class WavFile : public testing::Test {
 protected:
  std::string path() const { return folder_.path() / "sound.wav"; }

  test::TemporaryDirectory folder_;
};

TEST_F(WavFile, IsTheBytesThatEveryPlayerExpects) {
  std::ofstream(path()) << "what was there before, and longer than what comes now: " << 1e300;
  {
    auto writer = WavWriter::open(path()).value();
    EXPECT_TRUE(test::contentOf(path()).starts_with("what was there before"));
    const std::array<std::int16_t, 2> samples{1, -2};
    EXPECT_TRUE(writer.append(std::as_bytes(std::span(samples)), SampleFormat::kInt16));
  }
  EXPECT_EQ(test::contentOf(path()), std::string("RIFF\x28\0\0\0WAVEfmt \x10\0\0\0\1\0\1\0", 24) +
                                         std::string("\x44\xAC\0\0\x88\x58\1\0\2\0\x10\0", 12) +
                                         std::string("data\4\0\0\0\1\0\xFE\xFF", 12));
}

TEST_F(WavFile, OfAWriterThatNeverCameToAnEndLacksTheLastSecondAtMost) {
  auto writer = WavWriter::open(path()).value();
  const std::array<std::byte, kInt16Bytes> datagram{};
  for (int i = 0; i < 125; ++i) writer.append(datagram, SampleFormat::kInt16);  // 2.5 s
  EXPECT_THAT(readWav(path()).value(), SizeIs(2 * kSampleRate));
}

TEST_F(WavFile, WithoutSoundLeavesThingsAsTheyWere) {
  EXPECT_TRUE(WavWriter::open(path()).value().finish());
  EXPECT_FALSE(std::filesystem::exists(path()));
  std::ofstream(path()) << "former recording";
  EXPECT_TRUE(WavWriter::open(path()).value().finish());
  EXPECT_EQ(test::contentOf(path()), "former recording");
}

TEST_F(WavFile, SaysInASentenceWhatItCannotDo) {
  const auto nowhere = WavWriter::open(folder_.path() / "none" / "x.wav");
  ASSERT_FALSE(nowhere);
  EXPECT_THAT(nowhere.error(), HasSubstr("none/x.wav"));

  EXPECT_FALSE(readWav(path()));
  std::ofstream(path()) << std::string(100, 'x');
  EXPECT_FALSE(readWav(path()));
}

}  // namespace
}  // namespace quorin::measure
