#pragma once

#include "core/thread_safety.h"
#include "platform/audio/audio_server.h"
#include "platform/audio/pulse_connection.h"
#include "platform/audio/pulse_devices.h"

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

namespace quorin::audio {

class PulseEngine;

class PulseServer : public AudioServer {
 public:
  explicit PulseServer(dispatch::Queue& backgroundQueue);

  DefaultDevices defaultDevices() const override;
  RecordingAccess recordingAccess() const override;
  void setChangeHandler(dispatch::Queue& queue, dispatch::Task handler) override;
  std::unique_ptr<AudioEngine> makeEngine(SourceTest accepts) override;

  // For the engines, with the connection locked.

  PulseConnection& connection() { return connection_; }

  /// From `add` to `remove`, each change calls `follow` on the engine.
  void add(PulseEngine& engine) { engines_.push_back(&engine); }
  void remove(PulseEngine& engine) { std::erase(engines_, &engine); }

  /// Connects to the server if necessary and waits up to `limit` for its devices. True when they
  /// are known.
  bool waitForDevices(std::chrono::milliseconds limit);

  /// None when there is no default source.
  const std::optional<PulseSource>& defaultSource() const { return devices_.defaultSource(); }

  void noteRecordingAccess(RecordingAccess access);

 private:
  struct State {
    DefaultDevices devices;
    RecordingAccess access = RecordingAccess::kUnknown;

    bool operator==(const State&) const = default;
  };

  void disconnected(int error);
  void publishDevices(const DefaultDevices& devices);
  template <typename Change>
  void publish(Change change);

  mutable dispatch::Mutex mutex_;  ///< held for copies only
  State state_ GUARDED_BY(mutex_);
  std::unique_ptr<dispatch::EventSource> changeSource_ GUARDED_BY(mutex_);

  // With the connection locked.
  PulseDevices devices_;
  std::vector<PulseEngine*> engines_;
  bool missing_ = false;  ///< the server is missing, and this has been logged

  PulseConnection connection_;  ///< last: its thread uses all of the above
};

}  // namespace quorin::audio
