#include "app/sound_path.h"

namespace quorin::app {

SoundPath::SoundPath(dispatch::Scheduler& scheduler, audio::AudioCaptureManager& capture,
                     wifi::AudioSender& sender)
    : scheduler_(scheduler), capture_(capture), sender_(sender) {
  capture_.setOnAudioData([&sender](wire::AudioChunkView chunk) { sender.offer(chunk); });
  capture_.setOnInterrupted([this] { onInterrupted(); });
}

SoundPath::~SoundPath() {
  capture_.stopCapture();
  capture_.setOnInterrupted({});
  capture_.setOnAudioData({});
}

void SoundPath::start() {
  startCapture();
  sender_.startAudioSendTimer();
}

void SoundPath::stop() {
  whileWanted_.cancelAll();
  capture_.stopCapture();
  sender_.stopAudioSendTimer();
}

void SoundPath::startCapture() {
  capture_.startCapture();
  if (capture_.isCapturing()) return;
  whileWanted_.cancelAll();  // one attempt is due at a time
  scheduler_.mainQueue().asyncAfter(kRetryInterval, whileWanted_, [this] { startCapture(); });
}

void SoundPath::onInterrupted() {
  capture_.stopCapture();
  startCapture();
}

}  // namespace quorin::app
