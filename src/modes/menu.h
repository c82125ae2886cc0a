#pragma once

#include "core/scheduler.h"
#include "modes/cable_switch.h"
#include "modes/modes_window.h"
#include "modes/sound_path.h"
#include "modes/wifi_mode.h"

#include <functional>

namespace quorin::app {

/// Switches from the menu into a mode and back. Main queue.
class Menu {
 public:
  struct Parts {
    WiFiMode& wifi;
    CableSwitch& cable;
    SoundPath& sound;
    ModesWindow& window;
  };

  /// The scheduler and all parts outlive the menu.
  Menu(dispatch::Scheduler& scheduler, Parts parts) : scheduler_(scheduler), parts_(parts) {}

  void chooseOnlineMode();
  void chooseOfflineMode();

  /// Back to the menu; asks first while phones listen.
  void goBack() {
    askToStop([this] { stopAndShowMenu(); });
  }

  /// Runs `stop` at once, or, while phones listen, after the user's confirmation.
  void askToStop(std::function<void()> stop);

  /// Phones on the network, and the one on the cable.
  std::size_t listeners() const {
    return parts_.wifi.clientCount() + (parts_.cable.hasChannel() ? 1 : 0);
  }

  /// Ends both modes and all their posted work. The caller chooses the next page.
  void stopAllSessions();

 private:
  void stopAndShowMenu();

  dispatch::Scheduler& scheduler_;
  Parts parts_;
  dispatch::Scope pageSteps_;  ///< page switches that are posted and not yet due
};

}  // namespace quorin::app
