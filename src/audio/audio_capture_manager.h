#pragma once

#include "audio/capture_tap.h"
#include "audio/handler_slot.h"
#include "audio/tap_log.h"
#include "platform/audio/converter.h"
#include "platform/audio/engine.h"
#include "core/scheduler.h"
#include "core/log.h"
#include "wire/audio_chunk.h"

#include <functional>
#include <memory>

namespace quorin::audio {

/// Records the default input device and hands it on as chunks: 882 frames, 44100 Hz, mono float.
///
/// On the main queue, but for `setOnAudioData`. Failures show in `isCapturing` and in the log
/// (standard output), nowhere else. May be destroyed while capturing; no chunk is handed on after.
class AudioCaptureManager {
 public:
  using ChunkHandler = ChunkHandlerSlot::Handler;
  using InterruptionHandler = std::function<void()>;
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
  /// begun is not waited for, so a handler owns what it uses). `handler` runs on the audio
  /// server's thread, once per chunk, in order; the chunk is valid during the call. It must not
  /// wait, nor allocate in steady state. Empty: chunks are cut, counted and thrown away.
  void setOnAudioData(ChunkHandler handler) { onAudioData_.replace(std::move(handler)); }

  /// `neededAt` runs on the audio server's thread, after the chunks of one block, and says when the
  /// next one is needed (see `AudioEngine::installTap`); with the rules of a chunk handler. From
  /// the next `startCapture` on; what it uses outlives the capture.
  void setChunkNeededAt(AudioEngine::NeededAt neededAt) { chunkNeededAt_ = std::move(neededAt); }

  /// `handler` runs on the main queue when the audio server died or ended the recording. No chunk
  /// comes any more; `isCapturing` stays true until `stopCapture`, after which a start works
  /// again, once there is a server. `handler` may do both, or destroy this object.
  void setOnInterrupted(InterruptionHandler handler) { onInterrupted_ = std::move(handler); }

  bool isCapturing() const { return isCapturing_; }

  /// Waits for the audio server, up to 1.5 s if it hangs, and the first time for the making of the
  /// engine. Nothing happens when capturing already.
  void startCapture();

  /// Throws the started chunk away. Nothing happens when not capturing.
  void stopCapture();

 private:
  void createEngine();
  void removeTap();
  void interrupted(const Error& error);

  dispatch::Scheduler& scheduler_;
  Parts parts_;
  std::unique_ptr<AudioEngine> engine_;
  TapLog tapLog_;
  ChunkHandlerSlot onAudioData_;
  AudioEngine::NeededAt chunkNeededAt_;
  InterruptionHandler onInterrupted_;
  std::unique_ptr<CaptureTap> tap_;  ///< from `startCapture` to `stopCapture`
  bool isCapturing_ = false;
};

}  // namespace quorin::audio
