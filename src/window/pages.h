#pragma once

#include "modes/cable_status.h"
#include "modes/device_loan.h"
#include "modes/guard_flow.h"
#include "modes/modes_window.h"
#include "ui/texts.h"
#include "window/alert.h"
#include "window/console.h"
#include "window/screens.h"
#include "window/views.h"

#include <QPointer>
#include <functional>

namespace quorin::app {

/// The window's interface to the modes, the menu and the guard: puts their state into the views and
/// into the `ScreenState`. Main queue.
class Pages : public ModesWindow, public GuardScreens {
 public:
  /// All three outlive this.
  Pages(const Texts& texts, Views& views, Screens& screens);

  struct Callbacks {
    std::function<void()> stopAllSessions = [] {};  ///< the devices are no longer right
    std::function<void()> lendDevice = [] {};       ///< the guard's button
    std::function<void()> menuShown = [] {};        ///< whenever the menu comes to the front
  };
  void setCallbacks(Callbacks callbacks) { callbacks_ = std::move(callbacks); }

  /// The cable page, waiting or connected.
  void showCable(const CableState& state);

  /// What both streaming pages show of the sound.
  struct Sound {
    bool silent = false;
    SoundElsewhere elsewhere;
    bool lent = false;
    bool playsHere = false;
  };
  void showSound(const Sound& sound);

  void showSplashGone();

  void open(Page page) override;
  void showWiFiPage(const WiFiPage& page) override;
  void presentMessage(const QString& text, bool isStatus) override {
    console_.presentMessage(text, isStatus);
  }
  void confirmStop(std::function<void()> stop) override;

  bool splashIsUp() const override { return screens_.state().splash; }
  void apply(const GuardState& guard) override;
  void leavePages() override;
  void showMenu() override { open(Page::kMenu); }
  void stopAllSessionsForAudioChange() override { callbacks_.stopAllSessions(); }
  void lendDevice() override { callbacks_.lendDevice(); }

 private:
  const Texts& texts_;
  Views& views_;
  Screens& screens_;
  Console console_;
  Callbacks callbacks_;
  QPointer<Alert> stopQuestion_;  ///< while it is asked
};

}  // namespace quorin::app
