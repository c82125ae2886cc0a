#pragma once

#include "core/scheduler.h"
#include "modes/cable_switch.h"
#include "modes/sound_path.h"
#include "modes/wifi_mode.h"

#include <functional>

namespace quorin::app {

/// What the menu needs of the window. Main queue.
class MenuView {
 public:
  virtual ~MenuView() = default;
  MenuView(const MenuView&) = delete;
  MenuView& operator=(const MenuView&) = delete;

  /// Each makes its page the page in front, under whatever outranks it.
  virtual void openMenuPage() = 0;
  virtual void openCablePage() = 0;

  /// A sheet on the window, which is shown for it; `stop` runs when the user confirms.
  virtual void confirmStop(std::function<void()> stop) = 0;

  virtual void showPrivacyTerms() = 0;

 protected:
  MenuView() = default;
};

/// Switches from the menu into a mode and back. Main queue.
class Menu {
 public:
  struct Parts {
    WiFiMode& wifi;
    CableSwitch& cable;
    SoundPath& sound;
    MenuView& view;
  };

  /// The scheduler and all parts outlive the menu.
  Menu(dispatch::Scheduler& scheduler, Parts parts) : scheduler_(scheduler), parts_(parts) {}

  void chooseOnlineMode();
  void chooseOfflineMode();

  /// Back to the menu; asks first while phones listen.
  void goBack() {
    askToStop([this] { stopAndShowMenu(); });
  }

  /// Runs `stop`: at once, or when the user has confirmed it while phones listen.
  void askToStop(std::function<void()> stop);

  /// Phones on the network, and the one on the cable.
  std::size_t listeners() const {
    return parts_.wifi.clientCount() + (parts_.cable.hasChannel() ? 1 : 0);
  }

  void openPrivacyTerms() { parts_.view.showPrivacyTerms(); }

  /// Ends both modes and everything that they have posted. Which page follows is the caller's.
  void stopAllSessions();

 private:
  void stopAndShowMenu();

  dispatch::Scheduler& scheduler_;
  Parts parts_;
  dispatch::Scope pageSteps_;  ///< page switches that are posted and not yet due
};

}  // namespace quorin::app
