#pragma once

#include "core/scheduler.h"
#include "platform/posix/file_descriptor.h"

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <system_error>

namespace quorin::usb {

/// The USB multiplexing service's number for one plugged-in device. Numbers are used again after
/// the service restarts.
using DeviceID = std::uint32_t;

struct USBDevice {
  DeviceID number = 0;
  std::string serialNumber;  ///< of the device itself; the same each time it is plugged in
  std::uint32_t productID = 0;

  friend bool operator==(const USBDevice&, const USBDevice&) = default;
};

/// Both run on the main queue; neither may be empty.
struct PTUSBHubEvents {
  std::move_only_function<void(const USBDevice&)> didAttach;
  std::move_only_function<void(DeviceID)> didDetach;
};

/// The devices plugged in by USB, through the system's USB multiplexing service, and TCP
/// connections to them. All operations and callbacks on the main queue.
///
/// The service may be missing at first, end and come back: its end detaches every device, and
/// its return attaches those that are plugged in then.
class PTUSBHub {
 public:
  using ConnectCallback =
      std::move_only_function<void(std::expected<posix::FileDescriptor, std::error_code>)>;

  virtual ~PTUSBHub() = default;
  PTUSBHub(const PTUSBHub&) = delete;
  PTUSBHub& operator=(const PTUSBHub&) = delete;

  /// Each device attaches once and detaches once; those already plugged in attach soon after.
  /// Once per hub, until `stopListening`.
  virtual void startListening(PTUSBHubEvents events) = 0;
  virtual void stopListening() = 0;

  /// Opens a connection to a TCP port of the device and gives a non-blocking socket, or an error
  /// of `usbHubCategory`. Always answers later, and not at all once the hub is destroyed.
  virtual void connect(DeviceID device, std::uint16_t port, ConnectCallback callback) = 0;

 protected:
  PTUSBHub() = default;
};

/// "PTUSBHubErrorDomain": errno values, worded for a connection through the service.
const std::error_category& usbHubCategory();

/// The hub over usbmuxd. Honours USBMUXD_SOCKET_ADDRESS. Destroying it may wait for a connection
/// attempt that is under way, which the service must answer within 5 s. Destroy it on the main
/// queue, before the scheduler.
std::unique_ptr<PTUSBHub> makeUsbmuxdHub(dispatch::Scheduler& scheduler);

/// Whether the USB service answers now. Any thread; asks it, and waits for the answer.
bool usbServiceAnswers();

}  // namespace quorin::usb
