#pragma once

#include "platform/audio/devices.h"

#include <pulse/pulseaudio.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace quorin::audio {

struct PulseSource {
  Device device;
  pa_channel_map channelMap{};
};

/// Tracks the default devices by querying the server on each change notification. On the audio
/// server's thread, or with the connection locked.
class PulseDevices {
 public:
  /// `published` runs with every complete answer, changed or not.
  explicit PulseDevices(std::function<void(const DefaultDevices&)> published)
      : published_(std::move(published)) {}

  void connected(pa_context* context);
  void disconnected();

  /// False until the first answer of a new connection is complete.
  bool areKnown() const { return known_; }
  /// None when there is no default source.
  const std::optional<PulseSource>& defaultSource() const { return source_; }

 private:
  void refresh();
  void serverAnswered(const pa_server_info* info);
  void sinkAnswered(const pa_sink_info* info, int end);
  void sourceAnswered(const pa_source_info* info, int end);
  void oneAnswerLess();

  std::function<void(const DefaultDevices&)> published_;
  pa_context* context_ = nullptr;
  std::uint32_t connection_ = 0;
  int answersDue_ = 0;         ///< of the refresh under way
  bool refreshAgain_ = false;  ///< something changed since it began
  bool known_ = false;
  std::string defaultSink_;
  std::string defaultSource_;
  DefaultDevices answer_;
  std::optional<PulseSource> sourceAnswer_;
  std::optional<PulseSource> source_;
};

}  // namespace quorin::audio
