#include "platform/usb/usb_service_remedy.h"

#include <unistd.h>

namespace quorin::usb {

UsbServiceRemedy usbServiceRemedy() {
  const auto exists = [](const char* path) { return ::access(path, F_OK) == 0; };
  if (exists("/usr/sbin/usbmuxd") || exists("/usr/bin/usbmuxd")) {
    const bool systemd = exists("/run/systemd/system");
    return {.installed = true,
            .command = systemd ? "sudo systemctl restart usbmuxd" : "sudo usbmuxd"};
  }
  if (exists("/usr/bin/dnf")) return {.command = "sudo dnf install usbmuxd"};
  if (exists("/usr/bin/pacman")) return {.command = "sudo pacman -S usbmuxd"};
  if (exists("/usr/bin/zypper")) return {.command = "sudo zypper install usbmuxd"};
  return {.command = "sudo apt install usbmuxd"};
}

}  // namespace quorin::usb
