#include "audio/device_guard.h"
#include "audio/silence_watch.h"
#include "core/simulated_scheduler.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace quorin::audio {
namespace {

using namespace std::chrono_literals;

TEST(DeviceGuard, ADeviceIsKnownByPartOfItsNameWhateverTheCase) {
  const struct {
    Device device;
    bool result;
  } cases[] = {
      {{.number = 7, .name = "QUORIN audio (2ch)", .format = {}}, true},
      {{.number = 7, .name = "Monitor of Quorin Audio 2", .format = {}}, true},
      {{.number = 7, .name = "Quorin", .format = {}}, false},
      {{.number = 7, .name = "Quorin-Audio", .format = {}}, false},
      {{.number = 7, .name = std::nullopt, .format = {}}, false},
      {{.number = 0, .name = "Quorin Audio", .format = {}}, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(isDefaultDeviceNamed(c.device, kExpectedDeviceName), c.result)
        << currentDeviceName(c.device);
  }
}

class SilenceWatchTest : public ::testing::Test {
 protected:
  /// As the capture does: one chunk every 20 ms, with `sample` in its last place.
  void play(std::chrono::milliseconds duration, float sample) {
    wire::AudioChunk chunk{};
    chunk.back() = sample;
    for (auto played = 0ms; played < duration; played += wire::kChunkDuration) {
      detector->inspect(chunk);
      time.advance(wire::kChunkDuration);
    }
  }

  dispatch::SimulatedScheduler time;
  std::vector<bool> reports;
  SilenceWatch watch{time, [this](bool silent) { reports.push_back(silent); }};
  std::shared_ptr<SoundDetector> detector = watch.detector();
};

TEST_F(SilenceWatchTest, FiveSecondsOfZerosAreReportedOnceAndSoundEndsThem) {
  watch.start();
  play(4980ms, 0.0F);
  EXPECT_TRUE(reports.empty());
  play(60s, -0.0F);
  EXPECT_EQ(reports, (std::vector{true}));
  EXPECT_TRUE(watch.isSilent());

  play(500ms, std::numeric_limits<float>::denorm_min());
  EXPECT_EQ(reports, (std::vector{true, false}));
  EXPECT_FALSE(watch.isSilent());
}

}  // namespace
}  // namespace quorin::audio
