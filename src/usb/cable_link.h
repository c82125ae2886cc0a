#pragma once

#include "core/scheduler.h"
#include "platform/usb/channel.h"
#include "platform/usb/usb_hub.h"
#include "usb/line_limit.h"

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace quorin::usb {

inline constexpr IPv4Address kLoopbackAddress = 0x7F000001;
inline constexpr std::chrono::milliseconds kRetryDelay{1000};

/// All of it outlives the cable.
struct CablePlatform {
  dispatch::Scheduler& scheduler;
  PTUSBHub& hub;
  dispatch::Queue& sendQueue;  ///< the queue that paces audio
};

/// How the target phone answered the last attempt.
enum class PhoneAnswer {
  kNone,       ///< not tried yet, or no target
  kLocked,     ///< not paired, or it cannot be reached: it must be unlocked and trust the computer
  kNoListener  ///< its app does not listen
};

/// What the link reports, on the main queue; none may be empty.
struct CableLinkEvents {
  /// At once, whenever the channel is set or cleared.
  std::move_only_function<void(PTChannel*)> channelWasSet;
  /// The state of the link or of the hub changed; posted.
  std::move_only_function<void()> didChange;
};

/// Keeps at most one channel open to the phone: over USB to the device that was plugged in last,
/// and in parallel to the loopback address, where a phone may be simulated. An attempt that fails
/// is repeated after `kRetryDelay`; after a channel that lived for less than that, the next attempt
/// also waits `kRetryDelay`.
///
/// Attach handling and attempts wait, in order, in `notConnectedQueue_`, which is suspended while a
/// channel is held and while the cable mode is off. Exception: a loopback channel does not block
/// attempts to a real phone, whose channel replaces it. Main queue.
class CableLink {
 public:
  /// The channels it makes report to `delegate`, which passes their end on to `channelDidEnd`.
  /// Starts with the cable mode off.
  CableLink(CablePlatform platform, PTChannelDelegate& delegate, CableLinkEvents events);

  void startListeningForDevices();

  /// Queues one attempt, replacing any queued, running or scheduled attempt of the same kind. No
  /// effect while the cable mode is off.
  void enqueueConnectToUSBDevice();
  void enqueueConnectToLocalIPv4Port();

  /// The cable mode is chosen: `userForcedOffline` false, queue resumed, attempts queued.
  void enterCableMode();
  /// Any other mode is chosen: `userForcedOffline` true, attempts dropped, USB channel closed,
  /// queue suspended.
  void leaveCableMode();
  /// The Wi-Fi page has been re-entered: `userForcedOffline` false, and nothing else. What is
  /// queued from now on waits until the cable mode is chosen.
  void clearForcedOffline() { userForcedOffline_ = false; }

  /// Closes a USB channel; a loopback channel stays.
  void disconnectFromCurrentChannel();

  /// Installs a channel, or clears it with none. A channel that is replaced is closed.
  void setConnectedChannel(std::unique_ptr<PTChannel> channel);

  /// True when the channel was the one that is held.
  bool channelDidEnd(const PTChannel& channel);

  PTChannel* connectedChannel() const { return connectedChannel_.get(); }
  std::optional<DeviceID> connectedDeviceID() const { return connectedDeviceID_; }
  std::optional<DeviceID> connectingToDeviceID() const { return connectingToDeviceID_; }
  bool userForcedOffline() const { return userForcedOffline_; }
  bool notConnectedQueueSuspended() const { return notConnectedQueueSuspended_; }

  /// How many phones are plugged in.
  std::size_t phones() const { return attached_.size(); }
  PhoneAnswer phoneAnswer() const { return phoneAnswer_; }

 private:
  enum class Step { kAttach, kConnectToUSB, kConnectToLocal };
  using Waiting = std::pair<Step, DeviceID>;  ///< the device for kAttach, else 0
  /// One kind of attempt: the running one, or the timer for its retry.
  struct Attempts {
    std::unique_ptr<PTChannel> channel;
    std::unique_ptr<dispatch::Timer> retry;
  };

  void deviceDidAttach(DeviceID device);
  void handleAttach(DeviceID device);
  void noteDevice(const std::string& line);
  void deviceDidDetach(DeviceID device);
  void setTarget(std::optional<DeviceID> device);
  void askPairing(PhoneAnswer paired);
  void setPhoneAnswer(PhoneAnswer answer);
  void didDisconnectFromDevice();

  void enqueue(Waiting waiting);
  bool mayRun(const Waiting& waiting) const;
  void runNotConnectedQueue();
  void goOn();

  PTChannel& beginAttempt(Attempts& attempts, std::string label);
  void connectToUSBDevice();
  void connectToLocalIPv4Port();
  void usbAttemptEnded(std::error_code error);
  void localAttemptEnded(std::error_code error);
  void repeat(Attempts& attempts, void (CableLink::*enqueueAgain)());
  void didChange();

  CablePlatform platform_;
  PTChannelDelegate& delegate_;
  CableLinkEvents events_;
  LineLimit deviceLines_;

  bool isOn_ = false;  ///< the cable mode is chosen: only then attempts run
  bool userForcedOffline_ = true;
  std::vector<DeviceID> attached_;  ///< in the order of plugging in
  std::optional<DeviceID> connectingToDeviceID_;
  std::optional<DeviceID> connectedDeviceID_;
  std::unique_ptr<PTChannel> connectedChannel_;
  dispatch::TimePoint connectedAt_;

  Attempts usb_;
  Attempts local_;
  PhoneAnswer phoneAnswer_ = PhoneAnswer::kNone;
  PTUSBHub::Operation pairing_;

  std::deque<Waiting> notConnectedQueue_;
  bool notConnectedQueueSuspended_ = false;
  std::unique_ptr<dispatch::Timer> resumption_;  ///< after a channel that lived too briefly
  dispatch::Scope scope_;
};

}  // namespace quorin::usb
