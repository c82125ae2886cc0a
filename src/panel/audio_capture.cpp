#include "panel/audio_capture.h"

#include "audio/device_guard.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace quorin::panel {
namespace {

class RestartingCapture final : public AudioCapture {
 public:
  RestartingCapture(dispatch::Scheduler& scheduler, audio::AudioCaptureManager::Parts parts)
      : scheduler_(scheduler), manager_(scheduler, std::move(parts)) {}

  void setOnAudioData(ChunkHandler handler) override {
    manager_.setOnAudioData(std::move(handler));
  }

  void startCapture() override {
    const auto begun = scheduler_.now();
    manager_.startCapture();
    if (manager_.isCapturing()) return;
    // With a hanging server, the main queue blocks a tenth of the time at most.
    const auto waited = scheduler_.now() - begun;
    whileWanted_.cancelAll();
    scheduler_.mainQueue().asyncAfter(std::max<dispatch::Duration>(kRetryInterval, 9 * waited),
                                      whileWanted_, [this] { startCapture(); });
  }

  void stopCapture() override {
    whileWanted_.cancelAll();
    manager_.stopCapture();
  }

 private:
  static constexpr std::chrono::seconds kRetryInterval{1};

  dispatch::Scheduler& scheduler_;
  audio::AudioCaptureManager manager_;
  dispatch::Scope whileWanted_;
};

}  // namespace

std::unique_ptr<AudioCapture> makeCapture(dispatch::Scheduler& scheduler,
                                          audio::AudioCaptureManager::Parts parts) {
  return std::make_unique<RestartingCapture>(scheduler, std::move(parts));
}

CaptureFactory captureFrom(dispatch::Scheduler& scheduler, audio::AudioServer& server) {
  return [&scheduler, &server] {
    return makeCapture(
        scheduler, {.makeEngine = [&server] { return server.makeEngine(audio::mayBeStreamed); }});
  };
}

}  // namespace quorin::panel
