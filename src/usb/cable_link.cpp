#include "usb/cable_link.h"

#include "core/log.h"
#include "platform/usb/loopback_listener.h"
#include "wire/cable_frames.h"

#include <algorithm>
#include <string>
#include <utility>

namespace quorin::usb {
namespace {

void note(const std::string& line) {
  log::note("cable", line);
}

const std::string kLoopbackLabel = "127.0.0.1:" + std::to_string(wire::kCablePort);

}  // namespace

CableLink::CableLink(CablePlatform platform, PTChannelDelegate& delegate, CableLinkEvents events)
    : platform_(platform),
      delegate_(delegate),
      events_(std::move(events)),
      deviceLines_(platform.scheduler.mainQueue(), [](std::size_t leftOut) {
        note(std::to_string(leftOut) + " more lines on devices are left out");
      }) {}

// ---- Devices

void CableLink::startListeningForDevices() {
  platform_.hub.startListening(
      {.didAttach = scope_.bind([this](DeviceID device) { deviceDidAttach(device); }),
       .didDetach = scope_.bind([this](DeviceID device) { deviceDidDetach(device); }),
       .serviceDidChange = scope_.bind([this] { didChange(); })});
}

void CableLink::deviceDidAttach(DeviceID device) {
  noteDevice("PTUSBDeviceDidAttachNotification: " + std::to_string(device));
  attached_.push_back(device);
  enqueue({Step::kAttach, device});
  didChange();
}

void CableLink::noteDevice(const std::string& line) {
  if (deviceLines_.admits()) note(line);
}

void CableLink::handleAttach(DeviceID device) {
  if (connectingToDeviceID_ == device) return;
  disconnectFromCurrentChannel();
  setTarget(device);
}

void CableLink::deviceDidDetach(DeviceID device) {
  noteDevice("PTUSBDeviceDidDetachNotification: " + std::to_string(device));
  std::erase(attached_, device);
  std::erase(notConnectedQueue_, Waiting(Step::kAttach, device));
  didChange();
  if (connectingToDeviceID_ != device) return;
  setTarget(attached_.empty() ? std::nullopt : std::optional(attached_.back()));
  if (connectedChannel_) connectedChannel_->close();
}

void CableLink::setTarget(std::optional<DeviceID> device) {
  connectingToDeviceID_ = device;
  usb_ = {};
  pairing_.reset();
  phoneAnswer_ = PhoneAnswer::kNone;
  if (!device) return;
  askPairing(PhoneAnswer::kNone);
  enqueueConnectToUSBDevice();
}

/// Sets the answer `paired` if the phone is paired with this computer, else `kLocked`.
void CableLink::askPairing(PhoneAnswer paired) {
  pairing_ = platform_.hub.askPairing(
      *connectingToDeviceID_, [self = this, paired = paired](bool isPaired) {
        const auto answer = isPaired ? paired : PhoneAnswer::kLocked;
        const auto answered = std::move(self->pairing_);  // this is its callback, which runs once
        self->setPhoneAnswer(answer);
      });
}

void CableLink::setPhoneAnswer(PhoneAnswer answer) {
  if (std::exchange(phoneAnswer_, answer) != answer) didChange();
}

// ---- The queue

void CableLink::enqueue(Waiting waiting) {
  std::erase(notConnectedQueue_, waiting);
  notConnectedQueue_.push_back(waiting);
  platform_.scheduler.mainQueue().async(scope_, [this] { runNotConnectedQueue(); });
}

bool CableLink::mayRun(const Waiting& waiting) const {
  if (!notConnectedQueueSuspended_) return true;
  const bool holdsLoopback = connectedChannel_ && !connectedDeviceID_;
  return holdsLoopback && isOn_ && waiting.first != Step::kConnectToLocal;
}

void CableLink::runNotConnectedQueue() {
  const auto next = std::ranges::find_if(
      notConnectedQueue_, [this](const Waiting& waiting) { return mayRun(waiting); });
  if (next == notConnectedQueue_.end()) return;
  const auto waiting = *next;
  notConnectedQueue_.erase(next);
  switch (waiting.first) {
    case Step::kAttach:
      handleAttach(waiting.second);
      break;
    case Step::kConnectToUSB:
      connectToUSBDevice();
      break;
    case Step::kConnectToLocal:
      connectToLocalIPv4Port();
      break;
  }
  platform_.scheduler.mainQueue().async(scope_, [this] { runNotConnectedQueue(); });
}

/// Looks for a phone: at once, or once the channel ends.
void CableLink::goOn() {
  resumption_.reset();
  notConnectedQueueSuspended_ = connectedChannel_ != nullptr;
  enqueueConnectToLocalIPv4Port();
  // A running attempt continues: a reconnecting loopback peer must not restart it over and over.
  if (connectingToDeviceID_ && !usb_.channel) enqueueConnectToUSBDevice();
}

// ---- Attempts

void CableLink::enqueueConnectToUSBDevice() {
  if (userForcedOffline_) return;
  usb_ = {};
  enqueue({Step::kConnectToUSB, 0});
}

void CableLink::enqueueConnectToLocalIPv4Port() {
  if (userForcedOffline_) return;
  local_ = {};
  enqueue({Step::kConnectToLocal, 0});
}

PTChannel& CableLink::beginAttempt(Attempts& attempts, std::string label) {
  attempts = {};
  attempts.channel = std::make_unique<PTChannel>(
      ChannelQueues{.send = platform_.sendQueue, .main = platform_.scheduler.mainQueue()},
      delegate_);
  attempts.channel->setUserInfo(std::move(label));
  return *attempts.channel;
}

void CableLink::connectToUSBDevice() {
  if (!connectingToDeviceID_) return;
  beginAttempt(usb_, std::to_string(*connectingToDeviceID_))
      .connectToPort(wire::kCablePort, platform_.hub, *connectingToDeviceID_,
                     [this](std::error_code error) { usbAttemptEnded(error); });
}

void CableLink::connectToLocalIPv4Port() {
  beginAttempt(local_, kLoopbackLabel)
      .connectToPort(wire::kCablePort, kLoopbackAddress,
                     [this](std::error_code error) { localAttemptEnded(error); });
}

void CableLink::usbAttemptEnded(std::error_code error) {
  auto channel = std::move(usb_.channel);
  if (!error) {
    connectedDeviceID_ = connectingToDeviceID_;
    setConnectedChannel(std::move(channel));
    return;
  }
  noteDevice("Failed to connect to device #" + channel->userInfo() + ": " + error.message());
  repeat(usb_, &CableLink::enqueueConnectToUSBDevice);
  // A phone that does not trust this computer refuses every port.
  if (error == std::errc::connection_refused) {
    askPairing(PhoneAnswer::kNoListener);
  } else if (error == std::errc::protocol_error) {  // any other is the service's own fault
    setPhoneAnswer(PhoneAnswer::kLocked);
  }
}

void CableLink::localAttemptEnded(std::error_code error) {
  auto channel = std::move(local_.channel);
  const bool isForeign = !error && !loopbackListenerIsTrusted(wire::kCablePort);
  if (isForeign) error = std::make_error_code(std::errc::permission_denied);
  if (!error) {
    disconnectFromCurrentChannel();
    setConnectedChannel(std::move(channel));
    note("Connected to " + kLoopbackLabel);
    return;
  }
  // Usually nothing listens there (only simulated phones do), so refusals are not logged.
  if (isForeign) {
    note("Failed to connect to " + kLoopbackLabel + ": another user's program listens there");
  } else if (error != std::errc::connection_refused && error != std::errc::timed_out) {
    note("Failed to connect to " + kLoopbackLabel + ": " + error.message());
  }
  repeat(local_, &CableLink::enqueueConnectToLocalIPv4Port);
}

void CableLink::repeat(Attempts& attempts, void (CableLink::*enqueueAgain)()) {
  attempts.retry = platform_.scheduler.mainQueue().makeTimer(
      {.first = kRetryDelay}, [this, enqueueAgain] { (this->*enqueueAgain)(); });
}

// ---- The channel

void CableLink::disconnectFromCurrentChannel() {
  if (!connectedDeviceID_ || !connectedChannel_) return;
  didDisconnectFromDevice();
  setConnectedChannel(nullptr);
}

void CableLink::setConnectedChannel(std::unique_ptr<PTChannel> channel) {
  connectedChannel_ = std::move(channel);
  events_.channelWasSet(connectedChannel_.get());
  if (connectedChannel_) {
    connectedAt_ = platform_.scheduler.now();
    notConnectedQueueSuspended_ = true;
    resumption_.reset();
    local_ = {};
    if (connectedDeviceID_) usb_ = {};
  } else if (isOn_) {
    goOn();
  }
  didChange();
}

bool CableLink::channelDidEnd(const PTChannel& channel) {
  if (&channel != connectedChannel_.get()) return false;
  if (connectedDeviceID_) didDisconnectFromDevice();
  setConnectedChannel(nullptr);
  // Avoids a busy reconnect loop with a peer that closes, or violates the protocol, at once.
  if (isOn_ && platform_.scheduler.now() - connectedAt_ < kRetryDelay) {
    notConnectedQueueSuspended_ = true;
    resumption_ =
        platform_.scheduler.mainQueue().makeTimer({.first = kRetryDelay}, [this] { goOn(); });
  }
  return true;
}

void CableLink::didDisconnectFromDevice() {
  note("Disconnected from device");
  connectedDeviceID_.reset();
}

void CableLink::didChange() {
  platform_.scheduler.mainQueue().async(scope_, [this] { events_.didChange(); });
}

// ---- The mode

void CableLink::enterCableMode() {
  isOn_ = true;
  userForcedOffline_ = false;
  goOn();
}

void CableLink::leaveCableMode() {
  isOn_ = false;
  userForcedOffline_ = true;
  disconnectFromCurrentChannel();
  notConnectedQueueSuspended_ = true;
  resumption_.reset();
  usb_ = {};
  local_ = {};
}

}  // namespace quorin::usb
