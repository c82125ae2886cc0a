#pragma once

#include "platform/audio/audio_server.h"
#include "platform/audio/backend/pulse_connection.h"
#include "platform/audio/backend/pulse_devices.h"
#include "core/thread_safety.h"

#include <chrono>
#include <memory>

namespace quorin::audio {

class PulseServer : public AudioServer, private PulseConnectionListener {
 public:
  explicit PulseServer(dispatch::Queue& utilityQueue);

  DefaultDevices defaultDevices() const override;
  RecordingAccess recordingAccess() const override;
  void setChangeHandler(dispatch::Queue& queue, dispatch::Task handler) override;
  std::unique_ptr<AudioEngine> makeEngine() override;

  // For the engines.

  PulseConnection& connection() { return connection_; }

  /// With the connection locked: looks for the server if there is none, and gives it `limit` to
  /// tell its devices. True when they are known.
  bool waitForDevices(std::chrono::milliseconds limit);

  /// With the connection locked; none when there is no default source.
  const std::optional<SourceSpec>& defaultSource() const { return devices_.defaultSource(); }

  void noteRecordingAccess(RecordingAccess access);

  /// With the connection locked: an engine begins or ends its recording.
  void noteRecording(bool running) { recordings_ += running ? 1 : -1; }

  /// With the connection locked, from an engine that records: nothing that comes is wanted before
  /// `time`. It counts for an engine that is alone; two would want different times.
  void wantNothingUntil(dispatch::TimePoint time) {
    if (recordings_ == 1) connection_.napUntil(time);
  }

 private:
  struct News {
    DefaultDevices devices;
    RecordingAccess access = RecordingAccess::kUnknown;

    bool operator==(const News&) const = default;
  };

  void connected(pa_context* context) override;
  void disconnected(int error) override;
  void publishDevices(const DefaultDevices& devices);
  template <typename Change>
  void publish(Change change);

  mutable dispatch::Mutex mutex_;  ///< held for copies only
  News news_ GUARDED_BY(mutex_);
  std::unique_ptr<dispatch::EventSource> changeSource_ GUARDED_BY(mutex_);
  PulseDevices devices_;
  int recordings_ = 0;          ///< with the connection locked
  PulseConnection connection_;  ///< last: its thread uses all of the above
};

}  // namespace quorin::audio
