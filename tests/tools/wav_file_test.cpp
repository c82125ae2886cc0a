#include "measure/wav_file.h"

#include "support/temporary_directory.h"

#include <gmock/gmock.h>

#include <array>
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
  {
    auto writer = WavWriter::create(path(), SampleFormat::kInt16);
    ASSERT_TRUE(writer);
    const std::array<std::int16_t, 2> samples{1, -2};
    EXPECT_TRUE(writer->append(std::as_bytes(std::span(samples))));
  }
  std::ifstream file(path(), std::ios::binary);
  std::string bytes(64, '\0');  // more than a file with two samples has
  file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(file.gcount()));
  const auto expected = std::string("RIFF\x28\0\0\0WAVEfmt \x10\0\0\0\1\0\1\0", 24) +
                        std::string("\x44\xAC\0\0\x88\x58\1\0\2\0\x10\0", 12) +
                        std::string("data\4\0\0\0\1\0\xFE\xFF", 12);
  EXPECT_EQ(bytes, expected);
}

TEST_F(WavFile, OfAWriterThatNeverCameToAnEndLacksTheLastSecondAtMost) {
  auto writer = WavWriter::create(path(), SampleFormat::kInt16);
  const std::array<std::byte, kInt16Bytes> datagram{};
  for (int i = 0; i < 125; ++i) writer->append(datagram);  // 2.5 s
  EXPECT_THAT(readWav(path()).value(), SizeIs(2 * kSampleRate));
}

TEST_F(WavFile, SaysInASentenceWhatItCannotDo) {
  const auto nowhere = WavWriter::create(folder_.path() / "none" / "x.wav", SampleFormat::kInt16);
  ASSERT_FALSE(nowhere);
  EXPECT_THAT(nowhere.error(), HasSubstr("none/x.wav"));

  EXPECT_FALSE(readWav(path()));
  std::ofstream(path()) << std::string(100, 'x');
  EXPECT_FALSE(readWav(path()));
}

}  // namespace
}  // namespace quorin::measure
