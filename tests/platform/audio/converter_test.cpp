#include "platform/audio/converter.h"

#include "platform/audio/format.h"
#include "platform/audio/reblocker.h"
#include "support/sine_fit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

namespace quorin::audio {
namespace {

TEST(Reblocker, AHoleIsSilenceOfItsLength) {
  Reblocker reblocker(4);
  std::vector<float> output;
  const auto deliver = [&](std::span<const float> block) {
    output.insert(output.end(), block.begin(), block.end());
  };
  reblocker.push(std::vector<float>{1, 2, 3}, deliver);
  reblocker.pushSilence(6, deliver);
  reblocker.push(std::vector<float>{4, 5, 6, 7}, deliver);
  EXPECT_EQ(output, (std::vector<float>{1, 2, 3, 0, 0, 0, 0, 0, 0, 4, 5, 6}));

  reblocker.clear();
  reblocker.push(std::vector<float>{8, 9, 10, 11}, deliver);
  EXPECT_EQ(output.back(), 11);
}

constexpr Format kMono44100{.sampleRate = 44100, .channels = 1};

std::vector<float> convertAll(SampleConverter& converter, const Format& format,
                              std::span<const float> samples) {
  const auto blockFrames = *wholeBlockFrames(format.sampleRate, 882, 44100);
  std::vector<float> output;
  for (; !samples.empty(); samples = samples.subspan(blockFrames * format.channels)) {
    const auto result = converter.convert(
        {.samples = samples.first(blockFrames * format.channels), .format = format},
        blockFrames * 44100 / format.sampleRate);
    EXPECT_EQ(result.status, SampleConverter::Status::kHaveData);
    output.insert(output.end(), result.output.begin(), result.output.end());
  }
  return output;
}

TEST(SampleConverter, KeepsAllThatIsHeardAndNothingElseComesBackAsSuch) {
  const struct {
    unsigned rate;
    double frequency, heardAt, atLeast, atMost;
  } cases[] = {{48000, 19000, 19000, 0.99, 1.01},
               {96000, 19000, 19000, 0.99, 1.01},
               {96000, 24200, 44100 - 24200, 0, 1e-4}};
  for (const auto& c : cases) {
    const Format format{.sampleRate = c.rate, .channels = 1};
    std::vector<float> sine(c.rate / 5);
    for (std::size_t i = 0; i < sine.size(); ++i) {
      const auto seconds = static_cast<double>(i) / c.rate;
      sine[i] = static_cast<float>(std::sin(2 * std::numbers::pi * c.frequency * seconds));
    }
    const auto output = convertAll(*makeSampleConverter(format, kMono44100), format, sine);
    const auto level = test::fitSine(std::span(output).subspan(882), c.heardAt, 44100).level;
    EXPECT_GE(level, c.atLeast) << c.frequency << " at " << c.rate;
    EXPECT_LE(level, c.atMost) << c.frequency << " at " << c.rate;
  }
}

TEST(SampleConverter, ABrokenSampleIsSilenceAndSpoilsNothingElse) {
  using Limits = std::numeric_limits<float>;
  for (const float broken : {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(),
                             Limits::max(), Limits::denorm_min()}) {
    for (const unsigned rate : {44100U, 48000U}) {
      const Format format{.sampleRate = rate, .channels = 1};
      auto samples = std::vector<float>(rate / 10, 0.0F);
      samples[rate / 20] = broken;
      const auto converter = makeSampleConverter(format, kMono44100);
      for (const float sample : convertAll(*converter, format, samples)) {
        ASSERT_EQ(sample, 0.0F) << broken << " at " << rate;
      }
    }
  }
  // One broken channel makes its frame silent.
  const Format stereo{.sampleRate = 44100, .channels = 2};
  auto samples = std::vector<float>(2 * 882, 0.5F);
  samples[100] = Limits::quiet_NaN();
  const auto output = convertAll(*makeSampleConverter(stereo, kMono44100), stereo, samples);
  EXPECT_EQ(output[50], 0.0F);
  EXPECT_EQ(output[51], 0.5F);
}

}  // namespace
}  // namespace quorin::audio
