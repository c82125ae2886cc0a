#pragma once

#include "audio/audio_capture_manager.h"
#include "core/scheduler.h"
#include "platform/audio/audio_server.h"
#include "wire/audio_chunk.h"

#include <functional>
#include <memory>

namespace quorin::panel {

/// The capture as the server needs it. Main queue, but for the handler.
class AudioCapture {
 public:
  /// Runs on the audio server's thread, once per chunk, in order; the chunk is valid during the
  /// call. Must not wait, nor allocate in steady state.
  using ChunkHandler = std::function<void(wire::AudioChunkView)>;

  virtual ~AudioCapture() = default;
  AudioCapture(const AudioCapture&) = delete;
  AudioCapture& operator=(const AudioCapture&) = delete;

  virtual void setOnAudioData(ChunkHandler handler) = 0;
  virtual void startCapture() = 0;
  virtual void stopCapture() = 0;

 protected:
  AudioCapture() = default;
};

using CaptureFactory = std::function<std::unique_ptr<AudioCapture>()>;

/// Captures the default input device of `server` if it is the virtual one; both arguments must
/// outlive the result. A capture that fails to start, or that the audio server ends, is retried.
CaptureFactory captureFrom(dispatch::Scheduler& scheduler, audio::AudioServer& server);

/// The same with engines from elsewhere.
std::unique_ptr<AudioCapture> makeCapture(dispatch::Scheduler& scheduler,
                                          audio::AudioCaptureManager::Parts parts);

}  // namespace quorin::panel
