#pragma once

#include "core/scheduler.h"
#include "platform/desktop/microphone_rules.h"

#include <QObject>
#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorin::desktop {

/// The desktop's name for this program, and whether it runs in a sandbox.
struct Identity {
  std::string applicationId;
  bool sandboxed = false;

  bool operator==(const Identity&) const = default;
};

/// `ownId` is the desktop file's name, used outside a sandbox; `flatpakInfo` is the file in which
/// Flatpak describes the application.
Identity identify(std::string ownId, const std::string& flatpakInfo = "/.flatpak-info");

/// Whether this program may use the microphone, from the desktop's portal and from what the audio
/// server says. Confined to the main queue except `status`; never waits for either.
class MicrophonePermission {
 public:
  struct Options {
    Identity identity;
    std::string busAddress{};  ///< where the portal is; empty: the user's session bus
    /// Finds out whether the audio server lets this program record, by starting a recording; the
    /// answer comes through `reportRecording`. Called on the main queue; must not wait.
    dispatch::Task tryToRecord;
  };

  /// `scheduler` outlives this.
  MicrophonePermission(dispatch::Scheduler& scheduler, Options options);

  /// As last reported. Any thread. Pending until the desktop has answered, at most 2 s from the
  /// start.
  AuthorizationStatus status() const { return status_.load(std::memory_order_acquire); }

  /// Asks the user, unless already done. `answered` is posted to the main queue once `status` is no
  /// longer pending.
  void requestAccess(dispatch::Task answered);

  /// Whether the user was asked for that answer; false if it was stored before. Main queue.
  bool hasAskedUser() const { return hasAskedUser_; }

  /// The audio server's latest answer. A refusal or a pending request is retried every 2 s, because
  /// the server sends no notification when that changes.
  void reportRecording(std::optional<bool> granted);

 private:
  void onPortalAnswers(const PortalAnswers& answers);
  void update();
  void askForRecording();

  dispatch::Scheduler& scheduler_;
  Options options_;
  MicrophoneFacts facts_;
  std::atomic<AuthorizationStatus> status_{AuthorizationStatus::kNotDetermined};
  std::vector<dispatch::Task> pending_;  ///< requests without an answer
  std::unique_ptr<QObject> portal_;      ///< the watch on the desktop's answers
  bool asked_ = false;
  bool hasAskedUser_ = false;
  std::unique_ptr<dispatch::Timer> retry_;  ///< while the audio server refuses or is not there
  dispatch::Scope scope_;
};

}  // namespace quorin::desktop
