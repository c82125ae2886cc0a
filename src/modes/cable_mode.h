#pragma once

#include "modes/cable_switch.h"
#include "core/scheduler.h"
#include "platform/usb/channel.h"
#include "platform/usb/usb_hub.h"
#include "usb/cable.h"

#include <QString>
#include <functional>
#include <memory>

namespace quorin::app {

/// The cable mode: the hub, the link to the phone, and what the page says of them. Main queue.
class CableMode : public CableSwitch {
 public:
  struct Reports {
    std::function<void(bool connected)> channelChanged;
    std::function<void(const QString& text, bool isStatus)> presentMessage;
  };

  /// `sendQueue` paces the sound; it and the scheduler outlive the mode.
  CableMode(dispatch::Scheduler& scheduler, dispatch::Queue& sendQueue, Reports reports);

  /// Listens for phones; tries nobody before `turnOn`. Once, at start-up.
  void start();
  /// Starts the ping loop. Once, at start-up.
  void ping() { cable_.ping(); }

  void turnOn() override { cable_.link().enterCableMode(); }
  void turnOff() override { cable_.link().leaveCableMode(); }
  void clearForcedOffline() override { cable_.link().setUserForcedOffline(false); }
  bool hasChannel() const override { return cable_.link().connectedChannel() != nullptr; }

  /// A line typed into the console. False while nobody is connected: the text is then kept.
  bool sendMessage(const QString& text) { return cable_.sendMessage(text.toStdString()); }

  usb::CableAudioPath& audioPath() { return cable_.audioPath(); }

 private:
  std::unique_ptr<usb::PTUSBHub> hub_;
  std::unique_ptr<usb::PTChannelFactory> channels_;
  usb::Cable cable_;
};

}  // namespace quorin::app
