#pragma once

#include "core/scheduler.h"
#include "platform/desktop/authorization_status.h"
#include "platform/desktop/microphone_rules.h"
#include "platform/desktop/sandbox.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorin::desktop {

class PortalWatch;

/// Whether this program may use the microphone, from the desktop's portal and from what the audio
/// server says. Confined to the main queue but for `status`; nothing here waits for either.
class MicrophonePermission {
 public:
  struct Options {
    Identity identity;
    std::string busAddress;  ///< where the portal is; empty: the person's session bus
    /// Makes the audio server say whether it lets this program record, by starting a recording;
    /// the answer comes through `reportRecording`. Called on the main queue; must not wait.
    dispatch::Task tryToRecord;
  };

  /// `scheduler` outlives this.
  MicrophonePermission(dispatch::Scheduler& scheduler, Options options);
  ~MicrophonePermission();

  /// The latest news, without asking anybody. Any thread. Pending until the desktop has been
  /// heard, at most 2 s from the start.
  AuthorizationStatus status() const { return status_.load(std::memory_order_acquire); }

  /// Has the person asked where nobody has done so; `answered` runs on the main queue when
  /// `status` is no longer pending, never inside this call.
  void requestAccess(dispatch::Task answered);

  /// The audio server's latest word. A refusal, and an answer that has been asked for and is
  /// still due, are put to the test again every 2 s: nobody tells when that changes.
  void reportRecording(RecordAccess access);

 private:
  void onPortalAnswers(const PortalAnswers& answers);
  void update();
  void askForRecording();

  dispatch::Scheduler& scheduler_;
  Options options_;
  MicrophoneFacts facts_;
  std::atomic<AuthorizationStatus> status_{AuthorizationStatus::kNotDetermined};
  std::vector<dispatch::Task> waiting_;  ///< for an answer
  std::unique_ptr<PortalWatch> portal_;
  bool asked_ = false;
  std::unique_ptr<dispatch::Timer> retry_;  ///< while the audio server refuses or is not there
  std::shared_ptr<char> alive_ = std::make_shared<char>();
  dispatch::Scope scope_;
};

}  // namespace quorin::desktop
