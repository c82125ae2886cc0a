#pragma once

#include "audio/capture_tap.h"
#include "core/log.h"
#include "core/scheduler.h"
#include "core/snapshot.h"
#include "platform/audio/converter.h"
#include "platform/audio/engine.h"

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

namespace quorin::audio {

/// Records the default input device and delivers chunks: 882 frames, 44100 Hz, mono float.
///
/// Main queue, except `setOnAudioData`. Failures show in `isCapturing` and in the log (standard
/// output), nowhere else. May be destroyed while capturing; no chunk is delivered afterwards.
class AudioCaptureManager {
 public:
  using ChunkHandler = audio::ChunkHandler;
  using EngineFactory = std::move_only_function<std::unique_ptr<AudioEngine>()>;

  struct Parts {
    EngineFactory makeEngine;  ///< called once, in the first `startCapture`
    ConverterFactory makeConverter = makeSampleConverter;
    log::PrintLine print = log::print;
  };

  AudioCaptureManager(dispatch::Scheduler& scheduler, Parts parts);
  ~AudioCaptureManager();
  AudioCaptureManager(const AudioCaptureManager&) = delete;
  AudioCaptureManager& operator=(const AudioCaptureManager&) = delete;

  /// Any thread, at any time; takes effect at the next chunk (a call of the old handler that has
  /// begun is not waited for, so a handler owns what it uses). `handler` runs on the audio server's
  /// thread, once per chunk, in order; the chunk is valid during the call. It must not wait, nor
  /// allocate in steady state. Empty: chunks are still cut and counted, then discarded.
  void setOnAudioData(ChunkHandler handler) {
    onAudioData_.store(std::make_shared<const ChunkHandler>(std::move(handler)));
  }

  bool isCapturing() const { return isCapturing_; }

  /// Interval between retries of a capture that fails to start. Longer where an attempt blocks on
  /// an unresponsive server, so that the main queue blocks a tenth of the time at most.
  static constexpr std::chrono::seconds kRetryInterval{1};

  /// Waits for the audio server, up to 1.5 s if it hangs. If it fails (no audio server, no device
  /// to record), it is retried until `stopCapture`. No effect while capturing.
  void startCapture();

  /// Discards the partial chunk.
  void stopCapture();

 private:
  void removeTap();

  dispatch::Scheduler& scheduler_;
  Parts parts_;
  std::unique_ptr<AudioEngine> engine_;
  dispatch::Snapshot<ChunkHandler> onAudioData_;
  std::unique_ptr<CaptureTap> tap_;  ///< from `startCapture` to `stopCapture`
  bool isCapturing_ = false;
  dispatch::Scope whileWanted_;
};

}  // namespace quorin::audio
