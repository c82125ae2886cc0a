#include "panel/audio_capture.h"

#include <chrono>
#include <utility>

namespace quorin::panel {
namespace {

constexpr std::chrono::seconds kRestartInterval{2};

class DeviceCapture final : public AudioCapture {
 public:
  DeviceCapture(dispatch::Scheduler& scheduler, audio::AudioServer& server)
      : scheduler_(scheduler),
        manager_(scheduler, {.makeEngine = [&server] { return server.makeEngine(); }}) {
    manager_.setOnInterrupted([this] { restartLater(); });
  }

  void setOnAudioData(ChunkHandler handler) override {
    manager_.setOnAudioData(std::move(handler));
  }
  void startCapture() override { manager_.startCapture(); }
  void stopCapture() override {
    restartTimer_.reset();
    manager_.stopCapture();
  }

 private:
  void restartLater() {
    manager_.stopCapture();
    restartTimer_ = scheduler_.mainQueue().makeTimer(
        {.first = kRestartInterval, .interval = kRestartInterval}, [this] {
          manager_.startCapture();
          if (manager_.isCapturing()) restartTimer_.reset();
        });
  }

  dispatch::Scheduler& scheduler_;
  audio::AudioCaptureManager manager_;
  std::unique_ptr<dispatch::Timer> restartTimer_;  ///< after an interruption
};

}  // namespace

CaptureFactory captureFrom(dispatch::Scheduler& scheduler, audio::AudioServer& server) {
  return [&scheduler, &server] { return std::make_unique<DeviceCapture>(scheduler, server); };
}

}  // namespace quorin::panel
