#pragma once

#include "platform/posix/file_descriptor.h"
#include "platform/usb/usb_hub.h"
#include "support/fake_phone.h"

#include <plist/plist.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace quorin::test {

/// Stands in for the USB multiplexing service: speaks its property-list protocol (Listen,
/// ListDevices, Connect) on a Unix socket, for phones that the test plugs in. Does something only
/// inside `turn`, which a test calls while it waits.
///
/// A message is a header of four little-endian 32-bit fields (length with the header, version 1,
/// kind 8, tag) and an XML property list. After a successful Connect the same socket carries the
/// connection itself.
class FakeUsbmuxd {
 public:
  /// For the environment variable USBMUXD_SOCKET_ADDRESS: "UNIX:" and this path.
  explicit FakeUsbmuxd(std::filesystem::path path);
  ~FakeUsbmuxd() { stop(); }

  /// The service runs; `stop` is its sudden end. The phones stay plugged in.
  void start();
  void stop();

  void attach(usb::DeviceID device);
  /// Also ends the phone's connection, if the test still holds it: `hangUp` is the test's.
  void detach(usb::DeviceID device);

  /// Only a phone whose app runs is connected to.
  void openApp(usb::DeviceID device) { apps_.insert(device); }
  /// False: Connect gets no answer.
  bool answersConnect = true;

  /// The connection made to this phone's app, if there is one since the last call.
  std::optional<FakePhone> takeConnection(usb::DeviceID device);

  void turn();

  /// Answered Connect requests, "5:2345 0" for device, port and result.
  std::vector<std::string> connects;

 private:
  struct Client {
    posix::FileDescriptor socket;
    Bytes received;
  };
  using Message = std::pair<std::uint32_t, plist_t>;  ///< its tag and what it says

  void answerClients();
  static std::optional<Message> takeMessage(Client& client);
  /// True when the client's socket has become something else than a client's.
  bool answer(Client& client, const Message& message);
  bool answerConnect(Client& client, const Message& message);
  static void send(const posix::FileDescriptor& socket, std::uint32_t tag, plist_t message);
  static void sendResult(const posix::FileDescriptor& socket, std::uint32_t tag, unsigned result);

  std::filesystem::path path_;
  posix::FileDescriptor socket_;
  std::vector<Client> clients_;
  std::vector<posix::FileDescriptor> listeners_;
  std::set<usb::DeviceID> devices_;
  std::set<usb::DeviceID> apps_;
  std::map<usb::DeviceID, posix::FileDescriptor> connections_;
};

}  // namespace quorin::test
