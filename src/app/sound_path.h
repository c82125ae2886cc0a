#pragma once

#include "audio/audio_capture_manager.h"
#include "wifi/audio_sender.h"

namespace quorin::app {

/// The way of the sound, which either mode starts and stops as a whole. Main queue.
struct SoundPath {
  audio::AudioCaptureManager& capture;
  wifi::AudioSender& sender;

  void start() {
    capture.startCapture();
    sender.startAudioSendTimer();
  }

  void stop() {
    capture.stopCapture();
    sender.stopAudioSendTimer();
  }
};

}  // namespace quorin::app
