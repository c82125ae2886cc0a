#pragma once

#include "audio/audio_capture_manager.h"
#include "audio/fake_engine.h"
#include "core/simulated_scheduler.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

namespace quorin::test {

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

}  // namespace quorin::test
