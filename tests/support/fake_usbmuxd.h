#pragma once

#include "platform/posix/file_descriptor.h"
#include "platform/usb/property_list.h"
#include "platform/usb/usb_hub.h"
#include "support/fake_phone.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace quorin::test {

/// A message of the USB service: the header and a property list, or `items` in one, as XML, or what
/// the service says of a device.
Bytes usbMessage(const Bytes& list);
Bytes usbMessage(const std::string& items);
Bytes usbMessage(const std::string& type, usb::DeviceID device, const std::string& connection,
                 const std::string& serial);

/// Stands in for the USB multiplexing service: answers Listen, Connect and ReadPairRecord on a Unix
/// socket, for phones that the test plugs in. Does something only inside `turn`, which a test
/// calls while it waits. After a successful Connect the same socket leads to the phone's app.
class FakeUsbmuxd {
 public:
  /// For the environment variable USBMUXD_SOCKET_ADDRESS: "UNIX:" and this path.
  explicit FakeUsbmuxd(std::filesystem::path path) : path_(std::move(path)) {}
  ~FakeUsbmuxd() { stop(); }

  /// `stop` is the sudden end of the service. The phones stay plugged in.
  void start();
  void stop();

  /// `connection` is "USB" or "Network".
  void attach(usb::DeviceID device, const std::string& connection = "USB");
  void detach(usb::DeviceID device);

  std::set<usb::DeviceID> apps;       ///< only a phone whose app runs is connected to
  std::set<usb::DeviceID> strangers;  ///< phones that do not trust this computer
  bool answers = true;                ///< false: no request gets a reply

  void turn();

  std::map<usb::DeviceID, FakePhone> phones;  ///< the app's end of the latest channel to each

  std::vector<std::string> connects;  ///< answered Connect requests: "5:2345 0", with the result
  std::size_t accepted = 0;           ///< connections since the beginning

 private:
  struct Client {
    posix::FileDescriptor socket;
    Bytes received;
  };

  /// True when the client's socket has become something else than a client's.
  bool answer(Client& client, plist_t request);

  std::filesystem::path path_;
  posix::FileDescriptor socket_;
  std::vector<Client> clients_;
  std::vector<posix::FileDescriptor> listeners_;
  std::map<usb::DeviceID, std::string> devices_;  ///< with the kind of connection
};

}  // namespace quorin::test
