#include "modes/cable_mode.h"

#include <string_view>
#include <utility>

namespace quorin::app {
namespace {

usb::CableEvents eventsFor(CableMode::Reports reports) {
  return {.onChannelChanged = std::move(reports.channelChanged),
          .presentMessage =
              [present = std::move(reports.presentMessage)](std::string_view text, bool isStatus) {
                present(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())),
                        isStatus);
              },
          .willChangeConnectedDeviceID = {},
          .didChangeConnectedDeviceID = {}};
}

}  // namespace

CableMode::CableMode(dispatch::Scheduler& scheduler, dispatch::Queue& sendQueue, Reports reports)
    : hub_(usb::makeUsbmuxdHub(scheduler)),
      channels_(usb::makeTcpChannelFactory(scheduler, sendQueue)),
      cable_({.scheduler = scheduler, .hub = *hub_, .channels = *channels_}, sendQueue,
             eventsFor(std::move(reports))) {}

void CableMode::start() {
  cable_.link().startListeningForDevices();
  cable_.link().enqueueConnectToLocalIPv4Port();
}

}  // namespace quorin::app
