#include "modes/cable_mode.h"

#include <string_view>
#include <utility>

namespace quorin::app {

CableMode::CableMode(dispatch::Scheduler& scheduler, dispatch::Queue& sendQueue, Reports reports)
    : reports_(std::move(reports)),
      hub_(scheduler.mainQueue()),
      cable_({.scheduler = scheduler, .hub = hub_, .sendQueue = sendQueue},
             {.didChange = [this] { report(); },
              .presentMessage =
                  [this](std::string_view text, bool isStatus) {
                    reports_.presentMessage(
                        QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())),
                        isStatus);
                  }}) {}

void CableMode::start() {
  cable_.link().startListeningForDevices();
  cable_.link().enqueueConnectToLocalIPv4Port();
}

CableState CableMode::state() const {
  const auto& link = cable_.link();
  const bool hasService = hub_.service() == usb::UsbService::kRunning;
  return {.service = hub_.service(),
          .remedy = hasService ? usb::UsbServiceRemedy() : usb::usbServiceRemedy(),
          .phones = link.phones(),
          .answer = link.phoneAnswer(),
          .phoneName = cable_.phoneName(),
          .connected = link.connectedChannel() != nullptr,
          .appAnswers = cable_.appAnswers()};
}

void CableMode::report() {
  auto state = this->state();
  if (state == reported_) return;
  reported_ = std::move(state);
  reports_.changed(reported_);
}

}  // namespace quorin::app
