#pragma once

#include "core/scheduler.h"
#include "modes/cable_status.h"
#include "modes/cable_switch.h"
#include "platform/usb/usb_hub.h"
#include "usb/cable.h"

#include <QString>
#include <functional>

namespace quorin::app {

/// The cable mode: the hub, the link to the phone, and the state that the page shows. Main queue.
class CableMode : public CableSwitch {
 public:
  struct Reports {
    std::function<void(const CableState& state)> changed;
    std::function<void(const QString& text, bool isStatus)> presentMessage;
  };

  /// `sendQueue` paces the sound; it and the scheduler outlive the mode.
  CableMode(dispatch::Scheduler& scheduler, dispatch::Queue& sendQueue, Reports reports);

  /// Listens for phones; connects to none before `turnOn`. Once, at start-up.
  void start();
  /// Starts the ping loop. Once, at start-up.
  void ping() { cable_.ping(); }

  void turnOn() override { cable_.link().enterCableMode(); }
  void turnOff() override { cable_.link().leaveCableMode(); }
  void clearForcedOffline() override { cable_.link().clearForcedOffline(); }
  bool hasChannel() const override { return cable_.link().connectedChannel() != nullptr; }

  CableState state() const;

  /// Sends a line typed into the console. False without a connection: the caller keeps the text.
  bool sendMessage(const QString& text) { return cable_.sendMessage(text.toStdString()); }

  usb::CableAudioPath& audioPath() { return cable_.audioPath(); }

 private:
  void report();

  Reports reports_;
  CableState reported_;
  usb::PTUSBHub hub_;
  usb::Cable cable_;
};

}  // namespace quorin::app
