#include "audio/capture_fixture.h"
#include "support/allocation_count.h"
#include "support/sine_fit.h"

#include <cmath>
#include <numbers>

/// The whole way of the sound through capture, with the system's converter, in simulated time.
namespace quorin::test {
namespace {

using audio::Format;
using namespace std::chrono_literals;

TEST_F(CaptureTest, EveryBlockGivesItsChunksAtOnceTheSignalIsWholeAndNothingIsAllocated) {
  createManager();
  std::vector<float> output;
  manager_->setOnAudioData(
      [&](wire::AudioChunkView chunk) { output.insert(output.end(), chunk.begin(), chunk.end()); });
  output.reserve(wire::kSampleRate);
  for (const unsigned rate : {44100U, 48000U, 96000U, 22050U, 11025U, 8000U}) {
    for (const unsigned channels : {1U, 2U, 6U}) {
      SCOPED_TRACE(std::to_string(rate) + " Hz, " + std::to_string(channels));
      engine_->format = {.sampleRate = rate, .channels = channels};
      startQuietly();
      std::vector<float> second(std::size_t{rate} * channels);
      for (std::size_t i = 0; i < second.size(); ++i) {
        const auto seconds = static_cast<double>(i / channels) / rate;
        second[i] = static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * 1000 * seconds));
      }
      const auto block = audio::wholeBlockFrames(rate, 882, 44100).value() * channels;
      output.clear();
      const auto deliverBlock = [&](std::size_t at) {
        engine_->deliver(
            {.samples = std::span(second).subspan(at, block), .format = engine_->format});
      };
      deliverBlock(0);  // makes the converter
      EXPECT_EQ(output.size(), block * 44100 / rate / channels);
      scheduler_.runPending();
      scheduler_.advance(1s);  // a statistics line comes in between
      const auto before = allocationsOfThisThread();
      for (auto at = block; at < second.size(); at += block) deliverBlock(at);
      if (allocationsAreCounted()) {
        EXPECT_EQ(allocationsOfThisThread(), before);
      }
      scheduler_.runPending();
      EXPECT_EQ(output.size(), 44100U);
      EXPECT_THAT(lines_.back(), testing::StartsWith("⚡ FPS"));

      const auto fit = fitSine(std::span(output).subspan(882), 1000, 44100);
      EXPECT_NEAR(fit.level, 0.5, 1e-3);
      EXPECT_LT(fit.worstDeviation, 1e-3);
      manager_->stopCapture();
    }
  }
}

}  // namespace
}  // namespace quorin::test
