#pragma once

#include "audio/device_guard.h"
#include "core/scheduler.h"
#include "platform/audio/devices.h"
#include "platform/desktop/authorization_status.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace quorin::app {

/// One of the guard's status lines: green where the device is right, orange where it is not.
struct DeviceStatus {
  bool right = false;
  std::string name;  ///< as the line shows it

  bool operator==(const DeviceStatus&) const = default;
};

/// The guard's input: the latest state of the audio server and of the desktop, kept up to date
/// elsewhere. Any thread; never blocks.
class GuardInputs {
 public:
  virtual ~GuardInputs() = default;

  virtual audio::DefaultDevices defaultDevices() const = 0;
  virtual desktop::AuthorizationStatus microphoneStatus() const = 0;

  /// Asks for the microphone. `answered` runs on the main queue once `microphoneStatus` has the
  /// answer. Called on the main queue.
  virtual void requestMicrophoneAccess(dispatch::Task answered) = 0;

  /// Whether the user was asked for that answer, else it stood before. On the main queue.
  virtual bool hasAskedUser() const = 0;
};

/// What stands in front of the menu and the pages. Where several are set, the microphone screen
/// covers the guard, and the guard the check.
struct GuardState {
  bool checking = false;
  bool guard = false;
  bool microphone = false;

  std::string_view textKey;  ///< chosen when the guard came up, kept while it is up
  DeviceStatus output;       ///< as of the last refresh, like `input`
  DeviceStatus input;
  bool hasServer = true;  ///< an audio server runs; as of the last refresh

  bool settingUp = false;              ///< the button has been pressed and the device is on its way
  std::string_view setUpFailureKey{};  ///< why the last attempt failed; empty when it did not

  bool operator==(const GuardState&) const = default;
};

/// What the guard controls. Called on the main queue.
class GuardScreens {
 public:
  virtual ~GuardScreens() = default;

  virtual bool splashIsUp() const = 0;

  /// Makes `state` visible, and lays out.
  virtual void apply(const GuardState& state) = 0;

  /// Whatever page is open is left for the menu, which something in front still hides.
  virtual void leavePages() = 0;

  /// All is right: the menu. Also under the splash.
  virtual void showMenu() = 0;

  /// Ends every stream and attempt; the guard or the microphone screen follows.
  virtual void stopAllSessionsForAudioChange() = 0;

  /// Begins to set the device up; `onSetUp` or `onSetUpFailed` follows.
  virtual void lendDevice() = 0;
};

/// Keeps the user away from the menu until the microphone is allowed and both default devices
/// are right, and leads back there when they no longer are. Confined to the main queue; its polls
/// tick on the utility queue, and hop.
class GuardFlow {
 public:
  /// `scheduler` and `screens` outlive the flow; `inputs` is also held by ticks under way.
  GuardFlow(dispatch::Scheduler& scheduler, std::shared_ptr<GuardInputs> inputs,
            GuardScreens& screens);
  ~GuardFlow();

  /// The check at start-up; with the splash still up it only clears the front, and is called
  /// again when the splash is gone.
  void setupAudioCheckFlow();

  /// Watches the default devices from now on. A change for the worse stops every session.
  void startAudioDefaultWatch();

  /// At start-up: requests access where it is undetermined; shows the microphone screen where it is
  /// denied.
  void requestMicrophonePermission();

  void showMicDeniedOverlay();

  /// The microphone screen, else the guard, else the menu.
  void applyGuardPriority();

  void refreshAudioGuardStatus();

  /// The guard's button, and `--set-up`: has the device created and made the default.
  void setUp();
  /// The device is there, and default at the server; the news may still be on its way here.
  void onSetUp();
  /// `key` names the text that says why.
  void onSetUpFailed(std::string_view key);

  const GuardState& state() const { return state_; }

 private:
  /// Which path brought the guard up first; only the check's poll also tests the microphone.
  enum class PollKind : std::uint8_t { kCheckFlow, kDeviceChange };
  class Poll;

  bool microphoneAuthorized() const;
  audio::Routing routing() const { return audio::routingOf(inputs_->defaultDevices()); }

  void runDeviceCheck();
  void showGuard(const audio::Routing& routing, PollKind kind);
  void passGuard();
  void onGuardPoll(PollKind kind);
  void awaitDevices(int looksLeft);
  void startMicStatusWatch();
  void onMicrophoneAllowed();
  void onMicrophoneAnswer();
  void onDefaultDevicesChanged(const audio::Routing& routing);

  dispatch::Scheduler& scheduler_;
  const std::shared_ptr<GuardInputs> inputs_;
  GuardScreens& screens_;

  GuardState state_;
  std::unique_ptr<Poll> audioGuardTimer_;         ///< while the guard is up, the guard poll
  std::unique_ptr<Poll> micStatusTimer_;          ///< while the microphone screen is up
  std::unique_ptr<Poll> audioDefaultWatchTimer_;  ///< from `startAudioDefaultWatch` on
  dispatch::Scope scope_;
};

}  // namespace quorin::app
