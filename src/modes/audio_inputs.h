#pragma once

#include "modes/guard_flow.h"
#include "platform/audio/audio_server.h"
#include "platform/desktop/microphone_permission.h"

#include <utility>

namespace quorin::app {

/// The audio server's devices, and the microphone's permission from the desktop and from that
/// server. Created and destroyed on the main queue. The server must outlive it and all work still
/// queued on the scheduler.
class AudioInputs : public GuardInputs {
 public:
  AudioInputs(dispatch::Scheduler& scheduler, audio::AudioServer& server);

  audio::DefaultDevices defaultDevices() const override { return server_.defaultDevices(); }
  desktop::AuthorizationStatus microphoneStatus() const override { return permission_.status(); }
  void requestMicrophoneAccess(dispatch::Task answered) override {
    permission_.requestAccess(std::move(answered));
  }
  bool hasAskedUser() const override { return permission_.hasAskedUser(); }

 private:
  audio::AudioServer& server_;
  desktop::MicrophonePermission permission_;
  dispatch::Scope scope_;
};

}  // namespace quorin::app
