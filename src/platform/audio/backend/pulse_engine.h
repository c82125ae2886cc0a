#pragma once

#include "platform/audio/backend/reblocker.h"
#include "platform/audio/engine.h"
#include "core/thread_safety.h"

#include <pulse/pulseaudio.h>

#include <memory>
#include <optional>
#include <string>

namespace quorin::audio {

class PulseServer;

class PulseEngine : public AudioEngine {
 public:
  explicit PulseEngine(PulseServer& server) : server_(server) {}
  ~PulseEngine() override;

  Format inputFormat() override;
  void installTap(std::size_t frames, TapHandler handler, NeededAt neededAt) override;
  void removeTap() override;
  std::expected<void, Error> start() override;
  void stop() override;
  void reset() override;
  void setInterruptionHandler(dispatch::Queue& queue, InterruptionHandler handler) override;

 private:
  struct DropStream {
    void operator()(pa_stream* stream) const;
  };

  /// Of the tap and of what it gets. With the connection locked.
  struct Tap {
    std::size_t wireFrames;  ///< wanted length, at 44100 Hz
    TapHandler handler;
    NeededAt neededAt;
    Format format;  ///< of the blocks, once the engine has started
    std::optional<Reblocker> reblocker;
  };

  std::expected<void, Error> startLocked();
  std::expected<void, Error> connectStream(const pa_sample_spec& sampleSpec,
                                           const pa_channel_map& channelMap);
  void setRunning(bool running);
  void streamStateChanged();
  void readAvailable(std::size_t readable);

  PulseServer& server_;
  std::unique_ptr<pa_stream, DropStream> stream_;
  std::optional<Tap> tap_;
  bool running_ = false;

  dispatch::Mutex mutex_;
  std::optional<Error> interruption_ GUARDED_BY(mutex_);       ///< not yet reported
  std::unique_ptr<dispatch::EventSource> interruptionSource_;  ///< signalled with the lock held
};

}  // namespace quorin::audio
