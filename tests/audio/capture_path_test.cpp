#include "audio/capture_fixture.h"
#include "support/allocation_count.h"
#include "support/sine_fit.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <span>
#include <tuple>

/// The whole way of the sound through capture, with the system's converter, in simulated time.
namespace quorin::test {
namespace {

using audio::Format;
using namespace std::chrono_literals;

/// Cuts a made-up signal into the blocks that the engine would deliver.
class CapturePathTest : public CaptureTest {
 protected:
  CapturePathTest() {
    createManager();
    manager_->setOnAudioData([this](wire::AudioChunkView chunk) {
      ++chunkCount_;
      if (onChunk_) onChunk_(chunk);
    });
  }

  /// Captures `duration` at the pace of the clock: over and over the one second whose mono frames
  /// are `sampleAt(frame)`, the same in every channel.
  void capture(std::chrono::milliseconds duration, auto&& sampleAt) {
    const auto [rate, channels] = engine_->format;
    std::vector<float> second(std::size_t{rate} * channels);
    for (std::size_t i = 0; i < second.size(); ++i) second[i] = sampleAt(i / channels);

    const auto frames = audio::wholeBlockFrames(rate, 882, 44100).value();
    const auto blockDuration = std::chrono::milliseconds(1000 * frames / rate);
    for (std::chrono::milliseconds passed{0}; passed < duration; passed += blockDuration) {
      scheduler_.advance(blockDuration);
      const auto block = std::span(second).subspan(nextFrame_ * channels, frames * channels);
      nextFrame_ = (nextFrame_ + frames) % rate;
      engine_->deliver({.samples = block, .format = engine_->format});
    }
    scheduler_.runPending();
  }

  std::size_t nextFrame_ = 0;  ///< of the second
  std::uint64_t chunkCount_ = 0;
  std::function<void(wire::AudioChunkView)> onChunk_;
};

class CaptureFormatsTest : public CapturePathTest,
                           public testing::WithParamInterface<std::tuple<unsigned, unsigned>> {};

TEST_P(CaptureFormatsTest, EveryBlockGivesItsChunksAtOnceAndTheSignalIsWhole) {
  const auto [rate, channels] = GetParam();
  engine_->format = {.sampleRate = rate, .channels = channels};
  std::vector<float> output;
  onChunk_ = [&](wire::AudioChunkView chunk) {
    output.insert(output.end(), chunk.begin(), chunk.end());
  };
  startQuietly();
  const double step = 2 * std::numbers::pi * 1000.0 / rate;
  const auto sine = [&](std::size_t frame) {
    return static_cast<float>(0.5 * std::sin(step * static_cast<double>(frame)));
  };
  capture(40ms, sine);
  EXPECT_EQ(chunkCount_, 2U);  // none is held back for the block after its own
  capture(960ms, sine);
  EXPECT_EQ(chunkCount_, 50U);
  EXPECT_THAT(takeLines().back(), testing::StartsWith("⚡ FPS: 50 |"));

  output.erase(output.begin(), output.begin() + 882);
  const auto fit = fitSine(output, 1000, 44100);
  EXPECT_NEAR(fit.level, 0.5, 1e-3);
  EXPECT_LT(fit.worstDeviation, 1e-3);
}

INSTANTIATE_TEST_SUITE_P(All, CaptureFormatsTest,
                         testing::Combine(testing::Values(44100, 48000, 96000, 22050, 11025, 8000),
                                          testing::Values(1, 2, 6)));

TEST_F(CapturePathTest, AllocatesNothingInSteadyState) {
  if (!allocationsAreCounted()) GTEST_SKIP() << "a sanitizer has its own allocator";
  for (const auto format : {Format{48000, 2}, Format{44100, 1}, Format{8000, 6}}) {
    engine_->format = format;
    startQuietly();
    const std::vector<float> block(
        *audio::wholeBlockFrames(format.sampleRate, 882, 44100) * format.channels, 0.1F);
    const audio::BufferView buffer{.samples = block, .format = format};
    engine_->deliver(buffer);  // makes the converter
    scheduler_.runPending();
    for (int second = 0; second < 3; ++second) {
      scheduler_.advance(1s);
      const auto before = allocationsOfThisThread();
      for (int i = 0; i < 50; ++i) engine_->deliver(buffer);  // with a statistics line
      EXPECT_EQ(allocationsOfThisThread() - before, 0U) << format.sampleRate;
      scheduler_.runPending();
    }
    EXPECT_TRUE(lines_.back().starts_with("⚡ FPS")) << lines_.back();
    manager_->stopCapture();
  }
}

}  // namespace
}  // namespace quorin::test
