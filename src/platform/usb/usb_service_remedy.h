#pragma once

#include <string>

namespace quorin::usb {

/// How to get the USB multiplexing service running on this system.
struct UsbServiceRemedy {
  bool installed = false;
  std::string command;  ///< starts the service where it is installed, else installs it

  friend bool operator==(const UsbServiceRemedy&, const UsbServiceRemedy&) = default;
};
UsbServiceRemedy usbServiceRemedy();

}  // namespace quorin::usb
