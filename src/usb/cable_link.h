#pragma once

#include "core/scheduler.h"
#include "platform/usb/channel.h"
#include "platform/usb/usb_hub.h"

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace quorin::usb {

/// Both on the phone and, for a phone simulated on this machine, on 127.0.0.1.
inline constexpr std::uint16_t kCablePort = 2345;
inline constexpr IPv4Address kLoopbackAddress = 0x7F000001;
inline constexpr std::chrono::milliseconds kRetryDelay{1000};

struct CablePlatform {
  dispatch::Scheduler& scheduler;
  PTUSBHub& hub;
  PTChannelFactory& channels;
};

/// What the link tells its owner, on the main queue; all may be empty.
struct CableLinkEvents {
  /// At once, whenever the channel is set or cleared.
  std::move_only_function<void(const std::shared_ptr<PTChannel>&)> channelWasSet;
  /// Posted after each `setConnectedChannel`, for the display: whether a channel is held now.
  std::move_only_function<void(bool connected)> onChannelChanged;
  /// Around each loss of `connectedDeviceID`.
  std::move_only_function<void()> willChangeConnectedDeviceID;
  std::move_only_function<void()> didChangeConnectedDeviceID;
};

/// Keeps at most one channel open to the phone: over USB to the device that was plugged in last,
/// and in parallel to the loopback address. An attempt that fails is repeated after
/// `kRetryDelay`.
///
/// Attach handling and attempts wait, in order, for a turn of `notConnectedQueue_`, which is
/// suspended while a channel is held and while the cable mode is off. All state and every rule is
/// confined to the main queue, where the queue's turns hop to and where hub and channels call back.
class CableLink {
 public:
  /// The channels it makes report to `delegate`; the owner passes their end on (see
  /// `didDisconnectFromDevice`, `setConnectedChannel`). Starts with the cable mode off.
  CableLink(CablePlatform platform, CableLinkEvents events,
            std::weak_ptr<PTChannelDelegate> delegate);
  ~CableLink();
  CableLink(const CableLink&) = delete;
  CableLink& operator=(const CableLink&) = delete;

  void startListeningForDevices();

  /// Queues one attempt; nothing while the cable mode is off. A newer request of a kind replaces
  /// an older one wherever that is (waiting, under way or due again), so that attempts never
  /// multiply.
  void enqueueConnectToUSBDevice();
  void enqueueConnectToLocalIPv4Port();

  /// The cable mode is chosen: `userForcedOffline` false, queue resumed, attempts queued.
  void enterCableMode();
  /// Any other mode is chosen: `userForcedOffline` true, USB channel closed, queue suspended.
  void leaveCableMode();

  /// Closes a USB channel. A loopback channel stays unless a USB device was connected before it.
  void disconnectFromCurrentChannel();

  /// Installs a channel, or clears it with none. While the cable mode is off the given channel is
  /// closed instead. A channel that is replaced is closed.
  void setConnectedChannel(std::shared_ptr<PTChannel> channel);

  /// The channel to this device has ended.
  void didDisconnectFromDevice(DeviceID device);

  const std::shared_ptr<PTChannel>& connectedChannel() const { return connectedChannel_; }
  std::optional<DeviceID> connectedDeviceID() const { return connectedDeviceID_; }
  std::optional<DeviceID> connectingToDeviceID() const;

  bool userForcedOffline() const { return userForcedOffline_; }
  void setUserForcedOffline(bool forced) { userForcedOffline_ = forced; }
  bool notConnectedQueueSuspended() const { return notConnectedQueueSuspended_; }

 private:
  /// One plugged-in device, from its attach to its detach: a device that comes back under the
  /// same number is another target.
  struct Target {
    DeviceID device = 0;
    std::uint64_t attachment = 0;
    friend bool operator==(const Target&, const Target&) = default;
  };
  /// Counts the requests of one kind; only the newest is acted upon.
  using Request = std::uint64_t;

  void deviceDidAttach(const USBDevice& device);
  void handleAttach(DeviceID device);
  void deviceDidDetach(DeviceID device);

  void connectToUSBDevice(Request request);
  void connectToLocalIPv4Port(Request request);
  void usbAttemptEnded(const std::shared_ptr<PTChannel>& channel, const Target& target,
                       Request request, std::error_code error);
  void localAttemptEnded(const std::shared_ptr<PTChannel>& channel, Request request,
                         const std::expected<PTAddress, std::error_code>& peer);

  std::shared_ptr<PTChannel> newChannel(ChannelLabel label);
  std::shared_ptr<PTChannel> takeAttempt(const PTChannel* channel);

  void whenNotConnected(dispatch::Task task);
  void awaitTurn();
  void takeTurns();
  void suspendNotConnectedQueue();
  void resumeNotConnectedQueue();

  CablePlatform platform_;
  CableLinkEvents events_;
  std::weak_ptr<PTChannelDelegate> delegate_;

  bool userForcedOffline_ = true;
  bool notConnectedQueueSuspended_ = false;
  std::optional<Target> connectingTo_;
  std::uint64_t attachments_ = 0;
  std::optional<DeviceID> connectedDeviceID_;
  std::shared_ptr<PTChannel> connectedChannel_;
  std::vector<std::shared_ptr<PTChannel>> attempts_;  ///< channels that are connecting
  Request newestUSBRequest_ = 0;
  Request newestLocalRequest_ = 0;

  std::deque<dispatch::Task> waiting_;
  std::unique_ptr<dispatch::SerialQueue> notConnectedQueue_;
  dispatch::Scope scope_;
};

}  // namespace quorin::usb
