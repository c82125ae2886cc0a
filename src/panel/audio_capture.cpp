#include "panel/audio_capture.h"

#include "audio/device_guard.h"

#include <chrono>
#include <utility>

namespace quorin::panel {
namespace {

constexpr std::chrono::seconds kRetryInterval{2};

class DeviceCapture final : public AudioCapture {
 public:
  DeviceCapture(dispatch::Scheduler& scheduler, audio::AudioServer& server)
      : scheduler_(scheduler),
        manager_(scheduler,
                 {.makeEngine = [&server] { return server.makeEngine(audio::mayBeStreamed); }}) {}

  void setOnAudioData(ChunkHandler handler) override {
    manager_.setOnAudioData(std::move(handler));
  }
  void startCapture() override {
    tryToStart();
    if (manager_.isCapturing()) return;
    retryTimer_ = scheduler_.mainQueue().makeTimer(
        {.first = kRetryInterval, .interval = kRetryInterval}, [this] { tryToStart(); });
  }
  void stopCapture() override {
    retryTimer_.reset();
    manager_.stopCapture();
  }

 private:
  void tryToStart() {
    manager_.startCapture();
    if (manager_.isCapturing()) retryTimer_.reset();
  }

  dispatch::Scheduler& scheduler_;
  audio::AudioCaptureManager manager_;
  std::unique_ptr<dispatch::Timer> retryTimer_;  ///< until the capture has started
};

}  // namespace

CaptureFactory captureFrom(dispatch::Scheduler& scheduler, audio::AudioServer& server) {
  return [&scheduler, &server] { return std::make_unique<DeviceCapture>(scheduler, server); };
}

}  // namespace quorin::panel
