#pragma once

#include "audio/audio_capture_manager.h"
#include "audio/silence_watch.h"
#include "core/scheduler.h"
#include "stream/audio_sender.h"

#include <functional>

namespace quorin::app {

/// From the capture to the send timer: either mode starts and stops it as a whole. Main queue.
class SoundPath {
 public:
  /// All three outlive the path. Connects the capture's chunks to the sender.
  SoundPath(dispatch::Scheduler& scheduler, audio::AudioCaptureManager& capture,
            stream::AudioSender& sender);
  ~SoundPath();
  SoundPath(const SoundPath&) = delete;
  SoundPath& operator=(const SoundPath&) = delete;

  /// `changed` runs when the running stream has been silent for some seconds, and when sound
  /// returns.
  void setOnSilence(std::function<void(bool silent)> changed) { onSilence_ = std::move(changed); }

  void start();
  void stop();

  bool isSilent() const { return silence_.isSilent(); }

  /// The largest absolute sample since the last call. Any thread.
  float takePeak() { return silence_.detector()->takePeak(); }

 private:
  audio::AudioCaptureManager& capture_;
  stream::AudioSender& sender_;
  std::function<void(bool)> onSilence_;
  audio::SilenceWatch silence_;
};

}  // namespace quorin::app
