#include "platform/usb/usb_service_remedy.h"

#include <unistd.h>

namespace quorin::usb {

UsbServiceRemedy usbServiceRemedy() {
  const auto exists = [](const char* path) { return ::access(path, F_OK) == 0; };
  if (exists("/usr/sbin/usbmuxd") || exists("/usr/bin/usbmuxd")) {
    return {true,
            exists("/run/systemd/system") ? "sudo systemctl restart usbmuxd" : "sudo usbmuxd"};
  }
  if (exists("/usr/bin/dnf")) return {false, "sudo dnf install usbmuxd"};
  if (exists("/usr/bin/pacman")) return {false, "sudo pacman -S usbmuxd"};
  if (exists("/usr/bin/zypper")) return {false, "sudo zypper install usbmuxd"};
  return {false, "sudo apt install usbmuxd"};
}

}  // namespace quorin::usb
