#include "audio/audio_capture_manager.h"
#include "audio/fake_engine.h"
#include "core/simulated_scheduler.h"
#include "support/allocation_count.h"
#include "support/sine_fit.h"

#include <gmock/gmock.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

namespace quorin::test {
namespace {

using namespace std::chrono_literals;

// The whole way of the sound through capture, with the system's converter.
TEST(Capture, EveryBlockGivesItsChunksAtOnceTheSignalIsWholeAndNothingIsAllocated) {
  dispatch::SimulatedScheduler scheduler;
  std::string lastLine;
  auto newEngine = std::make_unique<FakeEngine>();
  auto* const engine = newEngine.get();  // the manager's
  audio::AudioCaptureManager manager(scheduler,
                                     {.makeEngine = [&] { return std::move(newEngine); },
                                      .makeConverter = audio::makeSampleConverter,
                                      .print = [&](std::string_view line) { lastLine = line; }});
  std::vector<float> output;
  manager.setOnAudioData(
      [&](wire::AudioChunkView chunk) { output.insert(output.end(), chunk.begin(), chunk.end()); });
  output.reserve(wire::kSampleRate);
  for (const unsigned rate : {44100U, 48000U, 96000U, 22050U, 11025U, 8000U}) {
    for (const unsigned channels : {1U, 2U, 6U}) {
      SCOPED_TRACE(std::to_string(rate) + " Hz, " + std::to_string(channels));
      engine->format = {.sampleRate = rate, .channels = channels};
      manager.startCapture();
      std::vector<float> second(std::size_t{rate} * channels);
      for (std::size_t i = 0; i < second.size(); ++i) {
        const auto frame = i / channels;
        const auto seconds = static_cast<double>(frame) / rate;
        second[i] = static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * 1000 * seconds));
      }
      const auto block = audio::wholeBlockFrames(rate, 882, 44100).value() * channels;
      output.clear();
      const auto deliverBlock = [&](std::size_t at) {
        engine->deliver(
            {.samples = std::span(second).subspan(at, block), .format = engine->format});
      };
      deliverBlock(0);  // makes the converter
      EXPECT_EQ(output.size(), block * 44100 / rate / channels);
      scheduler.runPending();
      scheduler.advance(1s);  // a statistics line comes in between
      const auto before = allocationsOfThisThread();
      for (auto at = block; at < second.size(); at += block) deliverBlock(at);
      if (allocationsAreCounted()) {
        EXPECT_EQ(allocationsOfThisThread(), before);
      }
      scheduler.runPending();
      EXPECT_EQ(output.size(), 44100U);
      EXPECT_THAT(lastLine, testing::MatchesRegex("⚡ FPS: .* . Latencia: 20.00ms . "
                                                  "Bytes/frame: 3528 . Buffer: 882 frames @ "
                                                  "44100.0 Hz"));

      const auto fit = fitSine(std::span(output).subspan(882), 1000, 44100);
      EXPECT_NEAR(fit.level, 0.5, 1e-3);
      EXPECT_LT(fit.worstDeviation, 1e-3);
      manager.stopCapture();
    }
  }
}

}  // namespace
}  // namespace quorin::test
