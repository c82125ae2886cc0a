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

using audio::SampleConverter;
using testing::ElementsAre;
using testing::SizeIs;
using namespace std::chrono_literals;

/// A capture in simulated time: its input is the test's, its chunks and log lines are kept.
class CaptureTest : public testing::Test {
 protected:
  /// With the system's converter, unless the test has another in mind.
  void createManager(audio::ConverterFactory makeConverter = audio::makeSampleConverter) {
    auto engine = std::make_unique<FakeEngine>();
    engine_ = engine.get();
    manager_ = std::make_unique<audio::AudioCaptureManager>(
        scheduler_,
        audio::AudioCaptureManager::Parts{
            .makeEngine = [engine = std::move(engine)]() mutable { return std::move(engine); },
            .makeConverter = std::move(makeConverter),
            .print = [this](std::string_view line) { lines_.emplace_back(line); }});
    manager_->setOnAudioData(
        [this](wire::AudioChunkView chunk) { chunks_.emplace_back(chunk.begin(), chunk.end()); });
  }

  void startQuietly() {
    manager_->startCapture();
    ASSERT_TRUE(manager_->isCapturing());
    lines_.clear();
    engine_->calls.clear();
  }

  /// One buffer in the input's format, every sample of it `sample`.
  void deliver(std::size_t frames, float sample = 0.25F) {
    const std::vector<float> samples(frames * engine_->format.channels, sample);
    engine_->deliver({.samples = samples, .format = engine_->format});
    scheduler_.runPending();
  }

  std::vector<std::string> takeLines() { return std::exchange(lines_, {}); }

  dispatch::SimulatedScheduler scheduler_;
  std::vector<std::string> lines_;
  std::vector<std::vector<float>> chunks_;
  FakeEngine* engine_ = nullptr;  ///< the manager's
  std::unique_ptr<audio::AudioCaptureManager> manager_;
};

// The whole way of the sound through capture, with the system's converter.
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
        const auto frame = i / channels;
        const auto seconds = static_cast<double>(frame) / rate;
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
      EXPECT_THAT(lines_.back(), testing::MatchesRegex("⚡ FPS: .* . Latencia: 20.00ms . "
                                                       "Bytes/frame: 3528 . Buffer: 882 frames @ "
                                                       "44100.0 Hz"));

      const auto fit = fitSine(std::span(output).subspan(882), 1000, 44100);
      EXPECT_NEAR(fit.level, 0.5, 1e-3);
      EXPECT_LT(fit.worstDeviation, 1e-3);
      manager_->stopCapture();
    }
  }
}

/// Answers what the test wants.
class ScriptedConverter : public SampleConverter {
 public:
  explicit ScriptedConverter(Result& answer) : answer_(answer) {}

  Result convert(const audio::BufferView& /*input*/, std::size_t capacity) override {
    output_.assign(capacity, 0.5F);
    answer_.output = output_;
    return answer_;
  }
  std::string description() const override { return "scripted"; }

 private:
  Result& answer_;
  std::vector<float> output_;
};

class AudioCaptureManagerTest : public CaptureTest {
 protected:
  AudioCaptureManagerTest() {
    createManager([this](const auto&, const auto&) {
      return canConvert_ ? std::make_unique<ScriptedConverter>(answer_) : nullptr;
    });
  }

  SampleConverter::Result answer_{
      .status = SampleConverter::Status::kHaveData, .output = {}, .error = {}};
  bool canConvert_ = true;
};

TEST_F(AudioCaptureManagerTest, AConverterIsMadeOncePerCaptureAndTriedUntilItCanBe) {
  const auto failed = "❌ Error creando convertidor dinámico";
  const auto created =
      "🔧 Convertidor creado: scripted | from 2 ch, 48000 Hz, Float32, interleaved to 1 ch, 44100 "
      "Hz, Float32";
  canConvert_ = false;
  startQuietly();
  for (int i = 0; i < 2; ++i) deliver(960);
  canConvert_ = true;
  for (int i = 0; i < 2; ++i) deliver(960);
  EXPECT_THAT(takeLines(), ElementsAre(failed, failed, created));

  deliver(480);  // half a chunk, which the stop throws away
  manager_->stopCapture();
  startQuietly();
  deliver(480);
  EXPECT_THAT(takeLines(), ElementsAre(created));
  EXPECT_THAT(chunks_, SizeIs(2));
}

}  // namespace
}  // namespace quorin::test
