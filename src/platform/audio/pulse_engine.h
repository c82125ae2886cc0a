#pragma once

#include "platform/audio/audio_server.h"
#include "platform/audio/pulse_connection.h"
#include "platform/audio/reblocker.h"

#include <pulse/pulseaudio.h>

#include <memory>
#include <optional>
#include <string>

namespace quorin::audio {

class PulseServer;
struct PulseSource;

/// Records a source by name in a stream that mixers cannot move; follows the default source itself.
class PulseEngine : public AudioEngine {
 public:
  PulseEngine(PulseServer& server, SourceTest accepts);
  ~PulseEngine() override;

  Format inputFormat() override;
  void installTap(std::size_t frames, TapHandler handler) override;
  void removeTap() override;
  std::expected<void, Error> start() override;
  void stop() override;

  /// With the connection locked, after the default source or the connection changed: records the
  /// default source if it is accepted, else nothing.
  void follow();

 private:
  struct DropStream {
    void operator()(pa_stream* stream) const;
  };

  /// The installed tap. With the connection locked.
  struct Tap {
    std::size_t wireFrames;  ///< wanted length, at 44100 Hz
    TapHandler handler;
    std::optional<Reblocker> reblocker;  ///< once the engine has started
  };

  std::expected<void, Error> startLocked();
  void chooseFormat(const PulseSource& source);
  void record(const PulseSource& source);
  void drop();
  void streamStateChanged();
  void readAvailable(std::size_t readable);

  PulseServer& server_;
  const SourceTest accepts_;

  // With the connection locked.
  std::optional<Tap> tap_;
  bool running_ = false;
  pa_sample_spec sampleSpec_{};  ///< of the blocks, from a start on
  pa_channel_map channelMap_{};
  std::string recorded_;  ///< the source's name; empty: none
  std::unique_ptr<pa_stream, DropStream> stream_;
  PulseConnection::Timer retryTimer_;
};

}  // namespace quorin::audio
