#include "platform/dispatch/system_scheduler.h"
#include "platform/usb/usb_hub.h"
#include "support/child_process.h"
#include "support/eventually.h"
#include "support/fake_usbmuxd.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <QCoreApplication>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The hub, through the real client library, with a service on a Unix socket.
namespace quorin::usb {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class UsbmuxdHubTest : public testing::Test {
 protected:
  UsbmuxdHubTest() { ::setenv("USBMUXD_SOCKET_ADDRESS", ("UNIX:" + path.string()).c_str(), 1); }

  bool until(auto&& condition) {
    return test::eventually([&] {
      QCoreApplication::processEvents();
      service.turn();
      return condition();
    });
  }
  void listen() {
    hub->startListening(
        {.didAttach =
             [this](const USBDevice& device) {
               events.push_back("+" + std::to_string(device.number) + " " + device.serialNumber);
             },
         .didDetach = [this](DeviceID device) { events.push_back("-" + std::to_string(device)); }});
  }
  std::vector<std::string> takeEvents(std::size_t count) {
    EXPECT_TRUE(until([&] { return events.size() >= count; }));
    return std::exchange(events, {});
  }
  /// Connects and waits for the answer.
  std::expected<posix::FileDescriptor, std::error_code> connect(DeviceID device) {
    std::optional<std::expected<posix::FileDescriptor, std::error_code>> result;
    hub->connect(device, 2345, [&](auto answer) { result = std::move(answer); });
    EXPECT_FALSE(result) << "answers later";
    EXPECT_TRUE(until([&] { return result.has_value(); }));
    return std::move(*result);
  }

  const test::TemporaryDirectory directory;
  const std::filesystem::path path = directory.path() / "usbmuxd";
  test::FakeUsbmuxd service{path};
  std::vector<std::string> events;
  std::unique_ptr<dispatch::Scheduler> scheduler = dispatch::makeSystemScheduler();
  std::unique_ptr<PTUSBHub> hub = makeUsbmuxdHub(*scheduler);
};

TEST_F(UsbmuxdHubTest, TellsOfEachDeviceOnceInAndOnceOut) {
  service.start();
  service.attach(5);
  listen();
  EXPECT_THAT(takeEvents(1), ElementsAre("+5 phone-5"));
  service.attach(5);
  service.attach(6);
  EXPECT_THAT(takeEvents(1), ElementsAre("+6 phone-6"));
  service.detach(5);
  service.detach(5);
  service.detach(6);
  EXPECT_THAT(takeEvents(2), ElementsAre("-5", "-6"));
}

TEST_F(UsbmuxdHubTest, FindsAServiceThatComesLaterEndsAndComesBack) {
  listen();
  for (int i = 0; i < 20; ++i) QCoreApplication::processEvents();
  EXPECT_THAT(events, IsEmpty());

  service.attach(5);
  service.attach(6);
  service.start();
  EXPECT_THAT(takeEvents(2), UnorderedElementsAre("+5 phone-5", "+6 phone-6"));
  service.stop();
  EXPECT_THAT(takeEvents(2), UnorderedElementsAre("-5", "-6"));
  service.detach(6);
  service.start();
  EXPECT_THAT(takeEvents(1), ElementsAre("+5 phone-5"));
}

TEST_F(UsbmuxdHubTest, IsSilentAfterStopListening) {
  service.start();
  service.attach(5);
  listen();
  takeEvents(1);
  hub->stopListening();
  for (int i = 0; i < 20; ++i) QCoreApplication::processEvents();
  EXPECT_THAT(events, IsEmpty());
  listen();
  EXPECT_THAT(takeEvents(1), ElementsAre("+5 phone-5"));
}

TEST_F(UsbmuxdHubTest, SaysWhyItCannotConnect) {
  const auto withoutService = connect(5);
  ASSERT_FALSE(withoutService);
  EXPECT_EQ(withoutService.error().message(), "the USB service (usbmuxd) is not running");

  service.start();
  const auto unplugged = connect(5);
  ASSERT_FALSE(unplugged);
  EXPECT_EQ(unplugged.error(), std::errc::no_such_device);

  service.attach(5);
  const auto refused = connect(5);
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error(), std::errc::connection_refused);
  EXPECT_EQ(refused.error().category(), usbHubCategory());
}

TEST_F(UsbmuxdHubTest, ConnectingDoesNotBlockTheMainQueue) {
  service.start();
  service.attach(5);
  service.openApp(5);
  service.answersConnect = false;
  bool isAnswered = false;
  hub->connect(5, 2345, [&](auto) { isAnswered = true; });
  bool mainRuns = false;
  scheduler->mainQueue().async([&] { mainRuns = true; });
  EXPECT_TRUE(until([&] { return mainRuns; }));
  EXPECT_FALSE(isAnswered);

  service.stop();  // else destroying the hub waits for the library to give up
  hub.reset();
  for (int i = 0; i < 20; ++i) QCoreApplication::processEvents();
  EXPECT_FALSE(isAnswered) << "a destroyed hub does not answer";
}

TEST_F(UsbmuxdHubTest, UnderstandsTheRealServiceWithoutADevice) {
  if (!test::hasProgram("usbmuxd")) GTEST_SKIP() << "usbmuxd is not installed";
  if (::geteuid() != 0) GTEST_SKIP() << "usbmuxd needs root";
  // Its socket has one place only: in a /run of its own, which is our folder.
  const auto start = [&] {
    const auto inOwnRun =
        "mount --bind " + directory.path().string() + " /run && exec usbmuxd -f -U root";
    return test::ChildProcess({.arguments = {"unshare", "--mount", "sh", "-c", inOwnRun},
                               .environment = {},
                               .output = {}});
  };
  listen();
  auto daemon = start();
  if (!until([&] { return std::filesystem::exists(path) || !daemon.isRunning(); }) ||
      !daemon.isRunning()) {
    GTEST_SKIP() << "usbmuxd does not run here";
  }
  const auto answer = [&] {
    const auto result = connect(5);
    return result ? std::error_code() : result.error();
  };
  EXPECT_TRUE(until([&] { return answer() == std::errc::no_such_device; }));
  daemon.kill();
  EXPECT_NE(answer(), std::errc::no_such_device);
  daemon = start();
  EXPECT_TRUE(until([&] { return answer() == std::errc::no_such_device; }));
  EXPECT_THAT(events, IsEmpty());
}

}  // namespace
}  // namespace quorin::usb
