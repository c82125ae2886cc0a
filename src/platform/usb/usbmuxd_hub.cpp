#include "core/log.h"
#include "platform/usb/usb_hub.h"

#include <fcntl.h>
#include <pthread.h>
#include <usbmuxd.h>

#include <cerrno>
#include <cstdlib>
#include <set>
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

/// What is plugged in, as the main queue has been told.
struct Devices {
  PTUSBHubEvents events;
  std::set<DeviceID> attached;

  void attach(const USBDevice& device) {
    if (attached.insert(device.number).second) events.didAttach(device);
  }
  void detach(DeviceID device) {
    if (attached.erase(device) > 0) events.didDetach(device);
  }
};

/// The library ends its thread by cancelling it, which must not happen inside of C++ code.
class NoCancellation {
 public:
  NoCancellation() { ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &previous_); }
  ~NoCancellation() { ::pthread_setcancelstate(previous_, nullptr); }
  NoCancellation(const NoCancellation&) = delete;
  NoCancellation& operator=(const NoCancellation&) = delete;

 private:
  int previous_ = 0;
};

/// One subscription to the library's events. They come on the library's thread, the last ones on
/// the thread that unsubscribes, and hop to the main queue, which may have lost interest by then.
class Subscription {
 public:
  Subscription(dispatch::Queue& main, std::weak_ptr<Devices> devices)
      : main_(main), devices_(std::move(devices)) {
    // The library watches for the service's socket in its usual place only; elsewhere it has to
    // ask every two seconds.
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody changes the environment
    if (std::getenv("USBMUXD_SOCKET_ADDRESS") != nullptr) libusbmuxd_set_use_inotify(0);
    if (usbmuxd_events_subscribe(&context_, &Subscription::eventCame, this) != 0) {
      context_ = nullptr;
      log::note("cable", "USB devices cannot be watched: libusbmuxd refused to start");
    }
  }
  ~Subscription() {
    if (context_ != nullptr) usbmuxd_events_unsubscribe(context_);
  }
  Subscription(const Subscription&) = delete;
  Subscription& operator=(const Subscription&) = delete;

 private:
  static void eventCame(const usbmuxd_event_t* event, void* self) {
    const NoCancellation guard;
    static_cast<const Subscription*>(self)->pass(*event);
  }

  void pass(const usbmuxd_event_t& event) const {
    if (event.device.conn_type != CONNECTION_TYPE_USB) return;
    if (event.event == UE_DEVICE_ADD) {
      main_.async([devices = devices_, device = USBDevice{.number = event.device.handle,
                                                          .serialNumber = event.device.udid,
                                                          .productID = event.device.product_id}] {
        if (const auto known = devices.lock()) known->attach(device);
      });
    } else if (event.event == UE_DEVICE_REMOVE) {
      main_.async([devices = devices_, number = event.device.handle] {
        if (const auto known = devices.lock()) known->detach(number);
      });
    }
  }

  dispatch::Queue& main_;
  const std::weak_ptr<Devices> devices_;
  usbmuxd_subscription_context_t context_ = nullptr;
};

/// Blocks for up to 5 s.
std::expected<posix::FileDescriptor, std::error_code> connectThroughService(DeviceID device,
                                                                            std::uint16_t port) {
  const int result = usbmuxd_connect(device, port);
  if (result < 0) return std::unexpected(std::error_code(-result, usbHubCategory()));
  posix::FileDescriptor socket(result);
  if (::fcntl(socket.get(), F_SETFD, FD_CLOEXEC) != 0 ||
      ::fcntl(socket.get(), F_SETFL, O_NONBLOCK) != 0) {
    return std::unexpected(std::error_code(errno, usbHubCategory()));
  }
  return socket;
}

class UsbmuxdHub : public PTUSBHub {
 public:
  explicit UsbmuxdHub(dispatch::Scheduler& scheduler)
      : main_(scheduler.mainQueue()),
        connectQueue_(scheduler.makeSerialQueue("PTUSBHub.connect")) {}

  void startListening(PTUSBHubEvents events) override {
    devices_ = std::make_shared<Devices>(Devices{.events = std::move(events), .attached = {}});
    subscription_ = std::make_unique<Subscription>(main_, devices_);
  }

  void stopListening() override {
    devices_.reset();
    subscription_.reset();
  }

  void connect(DeviceID device, std::uint16_t port, ConnectCallback callback) override {
    connectQueue_->async(
        [&main = main_, device, port, answer = scope_.bind(std::move(callback))]() mutable {
          main.async(
              [answer = std::move(answer), result = connectThroughService(device, port)]() mutable {
                answer(std::move(result));
              });
        });
  }

 private:
  dispatch::Queue& main_;
  std::unique_ptr<dispatch::SerialQueue> connectQueue_;
  std::shared_ptr<Devices> devices_;
  std::unique_ptr<Subscription> subscription_;
  dispatch::Scope scope_;
};

}  // namespace

const std::error_category& usbHubCategory() {
  static const UsbHubCategory category;
  return category;
}

std::unique_ptr<PTUSBHub> makeUsbmuxdHub(dispatch::Scheduler& scheduler) {
  return std::make_unique<UsbmuxdHub>(scheduler);
}

bool usbServiceAnswers() {
  usbmuxd_device_info_t* devices = nullptr;
  const bool answered = ::usbmuxd_get_device_list(&devices) >= 0;
  if (devices != nullptr) ::usbmuxd_device_list_free(&devices);
  return answered;
}

}  // namespace quorin::usb
