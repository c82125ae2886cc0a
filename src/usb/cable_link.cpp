#include "usb/cable_link.h"

#include "core/log.h"

#include <algorithm>
#include <string>
#include <utility>

namespace quorin::usb {
namespace {

constexpr auto kLogArea = "cable";

}  // namespace

CableLink::CableLink(CablePlatform platform, CableLinkEvents events,
                     std::weak_ptr<PTChannelDelegate> delegate)
    : platform_(platform),
      events_(std::move(events)),
      delegate_(std::move(delegate)),
      notConnectedQueue_(platform_.scheduler.makeSerialQueue("PTExample.notConnectedQueue")) {}

CableLink::~CableLink() {
  platform_.hub.stopListening();
}

std::optional<DeviceID> CableLink::connectingToDeviceID() const {
  return connectingTo_ ? std::optional(connectingTo_->device) : std::nullopt;
}

// ---- Devices

void CableLink::startListeningForDevices() {
  platform_.hub.startListening(
      {.didAttach = scope_.bind([this](const USBDevice& device) { deviceDidAttach(device); }),
       .didDetach = scope_.bind([this](DeviceID device) { deviceDidDetach(device); })});
}

void CableLink::deviceDidAttach(const USBDevice& device) {
  log::note(kLogArea, "PTUSBDeviceDidAttachNotification: " + std::to_string(device.number));
  whenNotConnected([this, number = device.number] { handleAttach(number); });
}

void CableLink::handleAttach(DeviceID device) {
  if (connectingToDeviceID() == device) return;
  disconnectFromCurrentChannel();
  connectingTo_ = Target{.device = device, .attachment = ++attachments_};
  enqueueConnectToUSBDevice();
}

void CableLink::deviceDidDetach(DeviceID device) {
  log::note(kLogArea, "PTUSBDeviceDidDetachNotification: " + std::to_string(device));
  if (!notConnectedQueueSuspended_) takeTurns();  // its attach may still be on its way here
  if (connectingToDeviceID() != device) return;
  connectingTo_.reset();
  if (connectedChannel_) connectedChannel_->close();
}

// ---- Attempts

void CableLink::enqueueConnectToUSBDevice() {
  if (userForcedOffline_) return;
  whenNotConnected([this, request = ++newestUSBRequest_] { connectToUSBDevice(request); });
}

void CableLink::enqueueConnectToLocalIPv4Port() {
  if (userForcedOffline_) return;
  whenNotConnected([this, request = ++newestLocalRequest_] { connectToLocalIPv4Port(request); });
}

void CableLink::connectToUSBDevice(Request request) {
  if (request != newestUSBRequest_ || !connectingTo_) return;
  const auto target = *connectingTo_;
  const auto channel = newChannel(ChannelLabel(target.device));
  channel->connectToPort(
      kCablePort, platform_.hub, target.device,
      scope_.bind([this, attempt = channel.get(), target, request](std::error_code error) {
        usbAttemptEnded(takeAttempt(attempt), target, request, error);
      }));
}

void CableLink::usbAttemptEnded(const std::shared_ptr<PTChannel>& channel, const Target& target,
                                Request request, std::error_code error) {
  if (error) {
    log::note(kLogArea, "Failed to connect to device #" + channel->userInfo().text() + ": " +
                            error.message());
    if (connectingTo_ != target || userForcedOffline_) return;
    platform_.scheduler.mainQueue().asyncAfter(kRetryDelay, scope_, [this, request] {
      if (request == newestUSBRequest_) enqueueConnectToUSBDevice();
    });
    return;
  }
  if (userForcedOffline_) {
    channel->close();
    setConnectedChannel(nullptr);
    return;
  }
  // Too late: the device has been pulled out or replaced, or a newer request does its work.
  if (connectingTo_ != target || request != newestUSBRequest_) {
    channel->close();
    return;
  }
  connectedDeviceID_ = connectingToDeviceID();
  setConnectedChannel(channel);
}

void CableLink::connectToLocalIPv4Port(Request request) {
  if (request != newestLocalRequest_) return;
  const PTAddress address{.address = kLoopbackAddress, .port = kCablePort};
  const auto channel = newChannel(ChannelLabel(address.text()));
  channel->connectToPort(kCablePort, kLoopbackAddress,
                         scope_.bind([this, attempt = channel.get(), request](
                                         const std::expected<PTAddress, std::error_code>& peer) {
                           localAttemptEnded(takeAttempt(attempt), request, peer);
                         }));
}

void CableLink::localAttemptEnded(const std::shared_ptr<PTChannel>& channel, Request request,
                                  const std::expected<PTAddress, std::error_code>& peer) {
  if (!peer) {
    // Nobody listens there unless a phone is simulated: no reason to say so every second.
    const auto error = peer.error();
    if (error != std::errc::connection_refused && error != std::errc::timed_out) {
      log::note(kLogArea, "Failed to connect to 127.0.0.1:" + std::to_string(kCablePort) + ": " +
                              error.message());
    }
  } else if (userForcedOffline_ || request != newestLocalRequest_) {
    channel->close();
  } else {
    disconnectFromCurrentChannel();
    setConnectedChannel(channel);
    channel->setUserInfo(ChannelLabel(peer->text()));
    log::note(kLogArea, "Connected to " + peer->text());
  }
  if (userForcedOffline_) return;
  platform_.scheduler.mainQueue().asyncAfter(kRetryDelay, scope_, [this, request] {
    if (request == newestLocalRequest_) enqueueConnectToLocalIPv4Port();
  });
}

std::shared_ptr<PTChannel> CableLink::newChannel(ChannelLabel label) {
  auto channel = platform_.channels.channelWithDelegate(delegate_);
  channel->setUserInfo(std::move(label));
  attempts_.push_back(channel);
  return channel;
}

std::shared_ptr<PTChannel> CableLink::takeAttempt(const PTChannel* channel) {
  const auto found = std::ranges::find(attempts_, channel, &std::shared_ptr<PTChannel>::get);
  auto taken = std::move(*found);
  attempts_.erase(found);
  return taken;
}

// ---- The channel

void CableLink::disconnectFromCurrentChannel() {
  if (!connectedDeviceID_ || !connectedChannel_) return;
  connectedChannel_->close();
  setConnectedChannel(nullptr);
}

void CableLink::setConnectedChannel(std::shared_ptr<PTChannel> channel) {
  const auto replaced = std::exchange(connectedChannel_, std::move(channel));
  if (replaced && replaced != connectedChannel_) replaced->close();

  if (userForcedOffline_ && connectedChannel_) {
    connectedChannel_->close();
    connectedChannel_.reset();
  }
  if (events_.channelWasSet) events_.channelWasSet(connectedChannel_);

  if (connectedChannel_) {
    suspendNotConnectedQueue();
  } else if (!userForcedOffline_) {
    resumeNotConnectedQueue();
    if (connectingTo_) enqueueConnectToUSBDevice();
  }
  platform_.scheduler.mainQueue().async(scope_, [this] {
    if (events_.onChannelChanged) events_.onChannelChanged(connectedChannel_ != nullptr);
  });
}

void CableLink::didDisconnectFromDevice(DeviceID device) {
  log::note(kLogArea, "Disconnected from device");
  if (connectedDeviceID_ != device) return;
  if (events_.willChangeConnectedDeviceID) events_.willChangeConnectedDeviceID();
  connectedDeviceID_.reset();
  if (events_.didChangeConnectedDeviceID) events_.didChangeConnectedDeviceID();
}

// ---- The mode and its queue

void CableLink::enterCableMode() {
  userForcedOffline_ = false;
  resumeNotConnectedQueue();
  enqueueConnectToLocalIPv4Port();
  if (connectingTo_) enqueueConnectToUSBDevice();
}

void CableLink::leaveCableMode() {
  userForcedOffline_ = true;
  disconnectFromCurrentChannel();
  suspendNotConnectedQueue();
}

void CableLink::whenNotConnected(dispatch::Task task) {
  waiting_.push_back(std::move(task));
  awaitTurn();
}

void CableLink::awaitTurn() {
  notConnectedQueue_->async([&main = platform_.scheduler.mainQueue(), turn = scope_.bind([this] {
    takeTurns();
  })]() mutable { main.async(std::move(turn)); });
}

void CableLink::takeTurns() {
  while (!notConnectedQueueSuspended_ && !waiting_.empty()) {
    auto task = std::move(waiting_.front());
    waiting_.pop_front();
    task();
  }
  // The queue was suspended while the turn was on its way to the main queue.
  if (!waiting_.empty()) awaitTurn();
}

void CableLink::suspendNotConnectedQueue() {
  if (std::exchange(notConnectedQueueSuspended_, true)) return;
  notConnectedQueue_->suspend();
}

void CableLink::resumeNotConnectedQueue() {
  if (!std::exchange(notConnectedQueueSuspended_, false)) return;
  notConnectedQueue_->resume();
}

}  // namespace quorin::usb
