#pragma once

#include "core/simulated_scheduler.h"
#include "support/eventually.h"
#include "support/fake_phone.h"
#include "support/fake_usbmuxd.h"
#include "support/log_capture.h"
#include "support/temporary_directory.h"
#include "usb/cable.h"
#include "wire/cable_frames.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorin::usb {

using namespace std::chrono_literals;

/// A cable in simulated time, over real sockets: to a stand-in for the USB service, to the apps of
/// the phones behind it, and to an app on the loopback address.
class CableTest : public testing::Test {
 protected:
  CableTest() {
    ::setenv("USBMUXD_SOCKET_ADDRESS", ("UNIX:" + path.string()).c_str(), 1);
    service.start();
    link.startListeningForDevices();
    run();
  }

  /// Lets everything happen that is due now, on all sides.
  void run() {
    for (int i = 0; i < 12; ++i) {
      time.runPending();
      service.turn();
      if (loopback) {
        if (auto next = loopback->accept()) phones.insert_or_assign(0, std::move(*next));
      }
      for (const auto device : service.apps) {
        if (auto next = service.takeConnection(device))
          phones.insert_or_assign(device, std::move(*next));
      }
      for (auto& [device, phone] : phones) phone.turn();
    }
  }
  void pass(dispatch::Duration duration) {
    for (run(); duration > 0ms; run()) {
      const auto step = std::min<dispatch::Duration>(duration, 100ms);
      time.advance(step);
      duration -= step;
    }
  }
  void plugIn(DeviceID device, const std::string& connection = "USB") {
    service.attach(device, connection);
    run();
  }
  void pullOut(DeviceID device) {
    service.detach(device);
    run();
  }
  void enterCable() {
    link.enterCableMode();
    run();
  }
  void leaveCable() {
    link.leaveCableMode();
    run();
  }
  /// The app on phone 5 runs, and is connected; for 1 s.
  test::FakePhone& connected() {
    service.apps = {5};
    plugIn(5);
    enterCable();
    pass(1s);
    EXPECT_EQ(link.connectedDeviceID(), 5U);
    return phones.at(5);
  }
  /// The same on the loopback address.
  test::FakePhone& connectedLocally() {
    loopback.emplace(wire::kCablePort);
    enterCable();
    pass(1s);
    EXPECT_TRUE(link.connectedChannel());
    return phones.at(0);
  }
  /// Connect requests that the service has answered since the last call.
  std::vector<std::string> connects() { return std::exchange(service.connects, {}); }
  /// The lines since the last call: "status: ..." or "message: ...".
  std::vector<std::string> console() { return std::exchange(lines_, {}); }
  static std::size_t count(const test::FakePhone& phone, wire::CableFrame type) {
    return static_cast<std::size_t>(
        std::ranges::count(phone.frames, std::to_underlying(type), &test::SentFrame::type));
  }

  test::LogCapture log;
  const test::TemporaryDirectory directory;
  const std::filesystem::path path = directory.path() / "usbmuxd";
  test::FakeUsbmuxd service{path};
  std::optional<test::PhoneListener> loopback;
  std::map<DeviceID, test::FakePhone> phones;  ///< connected at some time; 0: on the loopback

  dispatch::SimulatedScheduler time;
  std::unique_ptr<dispatch::SerialQueue> sendQueue = time.makeSerialQueue("send");
  PTUSBHub hub{time.mainQueue()};
  std::vector<std::string> lines_;
  Cable cable{{.scheduler = time, .hub = hub, .sendQueue = *sendQueue},
              {.didChange = [] {},
               .presentMessage =
                   [this](std::string_view text, bool isStatus) {
                     lines_.push_back((isStatus ? "status: " : "message: ") + std::string(text));
                   }}};
  CableLink& link = cable.link();
};

}  // namespace quorin::usb
