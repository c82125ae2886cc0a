#pragma once

#include "platform/usb/usb_hub.h"
#include "platform/usb/usb_service_remedy.h"
#include "ui/texts.h"
#include "usb/cable_link.h"

#include <QString>
#include <string>

namespace quorin::app {

/// The state of the cable connection.
struct CableState {
  usb::UsbService service = usb::UsbService::kUnknown;
  usb::UsbServiceRemedy remedy = {};
  std::size_t phones = 0;  ///< plugged in by USB; phones on the network only do not count
  usb::PhoneAnswer answer = usb::PhoneAnswer::kNone;
  std::string phoneName = {};  ///< empty when not known
  bool connected = false;
  bool appAnswers = true;

  friend bool operator==(const CableState&, const CableState&) = default;
};

/// The state as shown to the user.
enum class CableStatus {
  kWaiting,         ///< nothing known yet, or an attempt is under way
  kServiceMissing,  ///< the USB service is not installed
  kServiceStopped,  ///< installed, but does not answer or rejects this user
  kNoPhone,
  kPhoneLocked,
  kAppClosed,
  kConnected,
  kAppSilent,  ///< connected, but the app does not answer
};
CableStatus cableStatus(const CableState& state);

/// The cable page's text: the status and what to do next.
QString cableText(const CableState& state, const Texts& texts);

}  // namespace quorin::app
