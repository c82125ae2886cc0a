#pragma once

#include "audio/device_guard.h"
#include "core/scheduler.h"
#include "platform/audio/devices.h"
#include "platform/desktop/microphone_rules.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace quorin::app {

/// One of the guard's status lines: green if the device is right, else orange.
struct DeviceStatus {
  bool right = false;
  std::string name;  ///< as displayed

  bool operator==(const DeviceStatus&) const = default;
};

/// The guard's input: the latest state of the audio server and the desktop. Any thread; never
/// blocks.
class GuardInputs {
 public:
  virtual ~GuardInputs() = default;

  virtual audio::DefaultDevices defaultDevices() const = 0;
  virtual desktop::AuthorizationStatus microphoneStatus() const = 0;

  /// Asks for the microphone. `answered` runs on the main queue once `microphoneStatus` has the
  /// answer. Called on the main queue.
  virtual void requestMicrophoneAccess(dispatch::Task answered) = 0;

  /// Whether the user was asked for that answer; false if it was stored before. Main queue.
  virtual bool hasAskedUser() const = 0;
};

/// The screens in front of the menu and the pages. If several are set, the microphone screen covers
/// the guard, and the guard covers the check.
struct GuardState {
  bool checking = false;
  bool guard = false;
  bool microphone = false;

  std::string_view textKey;  ///< chosen when the guard came up, kept while it is up
  DeviceStatus output;       ///< as of the last refresh, like `input`
  DeviceStatus input;
  bool hasServer = true;  ///< an audio server runs; as of the last refresh

  bool settingUp = false;              ///< the button was pressed; the device is being set up
  std::string_view setUpFailureKey{};  ///< why the last attempt failed; empty if it did not fail

  bool operator==(const GuardState&) const = default;
};

/// What the guard controls. Called on the main queue.
class GuardScreens {
 public:
  virtual ~GuardScreens() = default;

  virtual bool splashIsUp() const = 0;

  /// Makes `state` visible, and lays out.
  virtual void apply(const GuardState& state) = 0;

  /// Switches from any open page to the menu, which is still covered.
  virtual void leavePages() = 0;

  /// Shows the menu; also while the splash is up.
  virtual void showMenu() = 0;

  /// Ends every stream and attempt; the guard or the microphone screen follows.
  virtual void stopAllSessionsForAudioChange() = 0;

  /// Begins to set the device up; `onSetUp` or `onSetUpFailed` follows.
  virtual void lendDevice() = 0;
};

/// Blocks the menu until the microphone is allowed and both default devices are right, and blocks
/// it again when they no longer are. Confined to the main queue; polls run on the utility queue and
/// post their results to the main queue.
class GuardFlow {
 public:
  /// `scheduler` and `screens` outlive the flow; `inputs` is shared with running polls.
  GuardFlow(dispatch::Scheduler& scheduler, std::shared_ptr<GuardInputs> inputs,
            GuardScreens& screens);
  ~GuardFlow();

  /// The check at start-up. While the splash is up it only clears the screens in front; call it
  /// again once the splash is gone.
  void setupAudioCheckFlow();

  /// Watches the default devices from now on. A change for the worse stops both modes.
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
  /// The server has the device as its default; `inputs` may not show it yet.
  void onSetUp();
  /// `key` is the text of the reason.
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
  void waitForDevices(int rechecksLeft);
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
