#include "platform/usb/usb_hub.h"

#include "core/log.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <utility>

namespace quorin::usb {
namespace {

class UsbHubCategory : public std::error_category {
 public:
  const char* name() const noexcept override { return "PTUSBHubErrorDomain"; }
  std::string message(int code) const override {
    switch (code) {
      case ECONNREFUSED:
        return "the app on the phone is not running; open it to connect";
      case ENODEV:
        return "the device is not plugged in any more";
      case ENOENT:
        return "the USB service (usbmuxd) is not running";
      default:
        return "the USB service could not connect: " + std::system_category().message(code);
    }
  }
  std::error_condition default_error_condition(int code) const noexcept override {
    return {code, std::generic_category()};
  }
};

// What a Result message says.
constexpr std::uint64_t kOk = 0;
constexpr std::uint64_t kBadDevice = 2;  // also: no such pairing record
constexpr std::uint64_t kConnectionRefused = 3;

int errorOf(std::optional<std::uint64_t> result) {
  if (!result) return EBADMSG;
  return result == kBadDevice ? ENODEV : result == kConnectionRefused ? ECONNREFUSED : EPROTO;
}

}  // namespace

const std::error_category& usbHubCategory() {
  static const UsbHubCategory category;
  return category;
}

// ---- Devices

void PTUSBHub::startListening(PTUSBHubEvents events) {
  events_ = std::move(events);
  listen();
}

void PTUSBHub::listen() {
  listening_ = UsbServiceRequest::send(main_, "Listen", {}, [this](auto*, auto message) {
    message ? didReceive(message->get()) : lose(message.error());
  });
}

void PTUSBHub::didReceive(plist_t message) {
  const auto type = textIn(message, "MessageType");
  const auto device = static_cast<DeviceID>(numberIn(message, "DeviceID").value_or(0));
  if (type == "Result") {
    if (numberIn(message, "Number") != kOk)
      return lose(std::make_error_code(std::errc::protocol_error));
    retry_ = main_.makeTimer({.first = kLastRetry}, [this] { retryDelay_ = kFirstRetry; });
    service_ = UsbService::kRunning;
    events_.serviceDidChange();
  } else if (type == "Attached") {
    attach(device, plist_dict_get_item(message, "Properties"));
  } else if (type == "Detached") {
    detach(device);
  }
}

void PTUSBHub::attach(DeviceID device, plist_t properties) {
  if (textIn(properties, "ConnectionType") != "USB" || devices_.size() == kMaxDevices) return;
  const auto serial = textIn(properties, "SerialNumber").substr(0, 64);
  if (devices_.emplace(device, serial).second) events_.didAttach(device);
}

void PTUSBHub::detach(DeviceID device) {
  if (devices_.erase(device) > 0) events_.didDetach(device);
}

void PTUSBHub::lose(std::error_code error) {
  listening_.reset();
  const bool missing =
      error == std::errc::no_such_file_or_directory || error == std::errc::connection_refused;
  const auto service = missing ? UsbService::kMissing : UsbService::kFailing;
  if (service != service_) log::note("cable", "USB devices cannot be watched: " + error.message());
  service_ = service;
  events_.serviceDidChange();
  while (!devices_.empty()) detach(devices_.begin()->first);

  const bool refused = error == std::errc::permission_denied;
  const auto delay = missing || refused
                         ? kFirstRetry
                         : std::exchange(retryDelay_, std::min(2 * retryDelay_, kLastRetry));
  retry_ = main_.makeTimer({.first = delay}, [this] { listen(); });
}

// ---- Connections

PTUSBHub::Operation PTUSBHub::connect(DeviceID device, std::uint16_t port,
                                      ConnectCallback callback) {
  const auto items = "<key>DeviceID</key><integer>" + std::to_string(device) +
                     "</integer><key>PortNumber</key><integer>" + std::to_string(htons(port)) +
                     "</integer>";
  return UsbServiceRequest::send(
      main_, "Connect", items,
      [callback = std::move(callback)](UsbServiceRequest* request, auto message) mutable {
        const auto result = message ? numberIn(message->get(), "Number") : std::nullopt;
        if (result == kOk) return callback(request->takeSocket());
        const int error = message ? errorOf(result) : message.error().value();
        callback(std::unexpected(std::error_code(error, usbHubCategory())));
      });
}

PTUSBHub::Operation PTUSBHub::askPairing(DeviceID device,
                                         std::move_only_function<void(bool)> callback) {
  auto serial = devices_.contains(device) ? devices_[device] : std::string();
  std::erase_if(serial, [](unsigned char c) { return std::isalnum(c) == 0 && c != '-'; });
  return UsbServiceRequest::send(
      main_, "ReadPairRecord", "<key>PairRecordID</key><string>" + serial + "</string>",
      [callback = std::move(callback)](auto*, auto message) mutable {
        callback(!message || numberIn(message->get(), "Number") != kBadDevice);
      });
}

}  // namespace quorin::usb
