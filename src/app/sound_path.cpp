#include "app/sound_path.h"

namespace quorin::app {

SoundPath::SoundPath(dispatch::Scheduler& scheduler, audio::AudioCaptureManager& capture,
                     wifi::AudioSender& sender)
    : scheduler_(scheduler),
      capture_(capture),
      sender_(sender),
      silence_(scheduler, [this](bool silent) {
        if (onSilence_) onSilence_(silent);
      }) {
  capture_.setOnAudioData([&sender, detector = silence_.detector()](wire::AudioChunkView chunk) {
    detector->hear(chunk);
    sender.offer(chunk);
  });
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
  silence_.start();
}

void SoundPath::stop() {
  whileWanted_.cancelAll();
  const bool wasSilent = silence_.isSilent();
  silence_.stop();
  capture_.stopCapture();
  sender_.stopAudioSendTimer();
  if (wasSilent && onSilence_) onSilence_(false);
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
