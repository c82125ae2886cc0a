#pragma once

#include "core/scheduler.h"
#include "platform/posix/file_descriptor.h"
#include "platform/usb/usb_service_request.h"

#include <chrono>
#include <cstdint>
#include <expected>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <system_error>

namespace quorin::usb {

/// The USB multiplexing service's number for one plugged-in device. Numbers are reused after a
/// restart of the service.
using DeviceID = std::uint32_t;

/// State of the USB multiplexing service, from its last answer or failure.
enum class UsbService {
  kUnknown,  ///< not asked yet
  kRunning,  ///< answers
  kMissing,  ///< nothing listens on its socket
  kFailing,  ///< denies access, hangs up, does not answer or sends invalid data
};

/// None may be empty.
struct PTUSBHubEvents {
  std::move_only_function<void(DeviceID)> didAttach;
  std::move_only_function<void(DeviceID)> didDetach;
  std::move_only_function<void()>
      serviceDidChange;  ///< after each answer to Listen and each failure
};

/// The devices plugged in by USB, through the system's USB multiplexing service (usbmuxd), and
/// TCP connections to them. All operations and callbacks on the main queue; nothing blocks.
///
/// The service may be missing at first, end and come back: its end detaches every device, and its
/// return attaches those that are plugged in then. A missing socket is retried every second; a
/// failing service with a growing delay, up to 10 s. Devices known over the network only are
/// ignored.
class PTUSBHub {
 public:
  static constexpr std::chrono::seconds kFirstRetry{1};
  static constexpr std::chrono::seconds kLastRetry{10};
  /// More than any machine has; further devices are ignored.
  static constexpr std::size_t kMaxDevices = 32;

  /// Gives a non-blocking socket, or an error of `usbHubCategory`.
  using ConnectCallback =
      std::move_only_function<void(std::expected<posix::FileDescriptor, std::error_code>)>;
  /// An operation that is under way: dropping it cancels it, and its callback does not run.
  using Operation = std::shared_ptr<UsbServiceRequest>;

  explicit PTUSBHub(dispatch::Queue& main) : main_(main) {}

  /// Each device attaches once and detaches once; those already plugged in attach soon after.
  /// Once per hub.
  void startListening(PTUSBHubEvents events);

  UsbService service() const { return service_; }

  /// Opens a connection to a TCP port of the device.
  [[nodiscard]] Operation connect(DeviceID device, std::uint16_t port, ConnectCallback callback);

  /// Whether this computer and the device are paired; also true if the service cannot tell.
  [[nodiscard]] Operation askPairing(DeviceID device,
                                     std::move_only_function<void(bool paired)> callback);

 private:
  void listen();
  void didReceive(plist_t message);
  void attach(DeviceID device, plist_t properties);
  void detach(DeviceID device);
  void lose(std::error_code error);

  dispatch::Queue& main_;
  PTUSBHubEvents events_;
  UsbService service_ = UsbService::kUnknown;
  std::map<DeviceID, std::string> devices_;  ///< with what the service calls each
  Operation listening_;
  /// The next connection attempt; while listening, the reset of `retryDelay_`.
  std::unique_ptr<dispatch::Timer> retry_;
  std::chrono::seconds retryDelay_ = kFirstRetry;
};

/// "PTUSBHubErrorDomain": errno values, worded for a connection through the service.
const std::error_category& usbHubCategory();

}  // namespace quorin::usb
