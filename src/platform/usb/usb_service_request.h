#pragma once

#include "core/queue.h"
#include "platform/posix/file_descriptor.h"
#include "platform/usb/property_list.h"

#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace quorin::usb {

/// One request to the USB multiplexing service on its own connection, and its replies. Main queue;
/// never blocks. Releasing the last reference closes the connection; the handler does not run
/// afterwards.
///
/// A message is a header of four little-endian 32-bit fields (length with the header, version 1,
/// type 8, tag) and a property list, XML.
class UsbServiceRequest : public std::enable_shared_from_this<UsbServiceRequest> {
 public:
  /// Runs, always later, for each message that comes, and once with an error when none can come
  /// any more: no service, no first answer within `kTimeout`, a malformed or oversized message,
  /// or a service that hangs up.
  using Handler = std::move_only_function<void(UsbServiceRequest* request,
                                               std::expected<PropertyList, std::error_code>)>;

  static constexpr std::chrono::seconds kTimeout{5};
  /// A pairing record, the largest message expected, takes about 12 KiB.
  static constexpr std::size_t kMaxMessageBytes = 64 * 1024;

  /// Connects to USBMUXD_SOCKET_ADDRESS ("UNIX:path"), else to /var/run/usbmuxd. `items`: XML
  /// of the dictionary's further entries.
  static std::shared_ptr<UsbServiceRequest> send(dispatch::Queue& main, std::string_view type,
                                                 const std::string& items, Handler handler);

  /// Hands over the socket; after a successful Connect it is connected to the phone.
  posix::FileDescriptor takeSocket();

 private:
  explicit UsbServiceRequest(Handler handler) : handler_(std::move(handler)) {}

  std::error_code open(dispatch::Queue& main, const std::string& message);
  void receive();
  void fail(std::error_code error);

  Handler handler_;
  posix::FileDescriptor socket_;
  std::unique_ptr<dispatch::ReadSource> readable_;
  std::unique_ptr<dispatch::Timer> timeout_;
  std::vector<std::byte> message_;
  std::size_t received_ = 0;
};

}  // namespace quorin::usb
