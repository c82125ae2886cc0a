#include "modes/cable_status.h"

namespace quorin::app {

CableStatus cableStatus(const CableState& state) {
  using usb::UsbService;
  if (state.connected) return state.appAnswers ? CableStatus::kConnected : CableStatus::kAppSilent;
  if (state.service == UsbService::kUnknown) return CableStatus::kWaiting;
  if (state.service != UsbService::kRunning) {
    return state.remedy.installed ? CableStatus::kServiceStopped : CableStatus::kServiceMissing;
  }
  if (state.phones == 0) return CableStatus::kNoPhone;
  switch (state.answer) {
    case usb::PhoneAnswer::kLocked:
      return CableStatus::kPhoneLocked;
    case usb::PhoneAnswer::kNoListener:
      return CableStatus::kAppClosed;
    case usb::PhoneAnswer::kNone:
      break;
  }
  return CableStatus::kWaiting;
}

QString cableText(const CableState& state, const Texts& texts) {
  const auto command = u'\n' + QString::fromStdString(state.remedy.command);
  constexpr int kMaxName = 40;  // what the line has room for
  const auto name = state.phoneName.empty()
                        ? QString()
                        : QString::fromStdString(state.phoneName).left(kMaxName) + ": ";
  switch (cableStatus(state)) {
    case CableStatus::kWaiting:
      break;
    case CableStatus::kServiceMissing:
      return texts.tr("cable.service.missing") + command;
    case CableStatus::kServiceStopped:
      return texts.tr("cable.service.stopped") + command;
    case CableStatus::kNoPhone:
      return texts.tr("cable.phone.none");
    case CableStatus::kPhoneLocked:
      return name + texts.tr("cable.phone.locked");
    case CableStatus::kAppClosed:
      return name + texts.tr("cable.app.closed");
    case CableStatus::kConnected:
      return texts.tr("usb.connected");
    case CableStatus::kAppSilent:
      return texts.tr("cable.app.silent");
  }
  return texts.tr("waiting_connection");
}

}  // namespace quorin::app
