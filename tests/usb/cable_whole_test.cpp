#include "platform/dispatch/system_scheduler.h"
#include "support/eventually.h"
#include "support/fake_phone.h"
#include "support/fake_usbmuxd.h"
#include "support/log_capture.h"
#include "support/own_network.h"
#include "support/temporary_directory.h"
#include "usb/cable.h"
#include "usb/cable_frames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The whole cable over real sockets: the USB service is a stand-in, the phones are the test's.
namespace quorin::usb {
namespace {

using test::Bytes;
using test::bytesOf;
using test::FakePhone;
using test::SentFrame;
using testing::Contains;
using testing::HasSubstr;
using testing::StartsWith;

class CableWholeTest : public testing::Test {
 protected:
  CableWholeTest() {
    ::setenv("USBMUXD_SOCKET_ADDRESS", ("UNIX:" + path.string()).c_str(), 1);
    hub = makeUsbmuxdHub(*scheduler);
    channels = makeTcpChannelFactory(*scheduler, *sendQueue);
    cable = std::make_unique<Cable>(
        CablePlatform{*scheduler, *hub, *channels}, *sendQueue,
        CableEvents{
            .onChannelChanged = [this](bool is) { isShownConnected = is; },
            .presentMessage = [this](std::string_view text, bool) { console.emplace_back(text); },
            .willChangeConnectedDeviceID = {},
            .didChangeConnectedDeviceID = {}});
    cable->link().startListeningForDevices();
    cable->ping();
  }

  bool until(auto&& condition) {
    return test::eventually([&] {
      QCoreApplication::processEvents();
      service.turn();
      if (phone) phone->turn();
      for (auto& line : log.take()) lines.push_back(std::move(line));
      return condition();
    });
  }
  bool usbPhoneConnects(DeviceID device) {
    return until([&] {
      if (auto next = service.takeConnection(device)) phone = std::move(*next);
      return phone && isShownConnected && cable->link().connectedDeviceID() == device;
    });
  }
  /// Phone 5 is plugged in, with its app, and the cable mode chosen.
  bool appRunsOnAPhone() {
    service.start();
    service.attach(5);
    service.openApp(5);
    cable->link().enterCableMode();
    return usbPhoneConnects(5);
  }
  bool loopbackPhoneConnects(test::PhoneListener& listener) {
    return until([&] {
      if (auto next = listener.accept()) phone = std::move(*next);
      return phone && isShownConnected;
    });
  }
  bool disconnects(const std::string& label) {
    return until([&] {
      return std::ranges::count(console, "Disconnected from " + label) > 0 && !isShownConnected;
    });
  }
  bool phoneGot(std::uint32_t type) {
    return until([&] { return std::ranges::count(phone->frames, type, &SentFrame::type) > 0; });
  }
  void sendAudio(const wire::AudioChunk& chunk) {
    sendQueue->async([this, chunk] { cable->audioPath().send(chunk); });
  }

  test::LogCapture log;
  std::vector<std::string> lines;
  std::vector<std::string> console;
  bool isShownConnected = false;
  const test::TemporaryDirectory directory;
  const std::filesystem::path path = directory.path() / "usbmuxd";
  test::FakeUsbmuxd service{path};
  std::optional<FakePhone> phone;
  std::unique_ptr<dispatch::Scheduler> scheduler = dispatch::makeSystemScheduler();
  std::unique_ptr<dispatch::SerialQueue> sendQueue =
      scheduler->makeSerialQueue("PTExample.audioFrameQueue", dispatch::Priority::kRealtime);
  std::unique_ptr<PTUSBHub> hub;
  std::unique_ptr<PTChannelFactory> channels;
  std::unique_ptr<Cable> cable;
};

TEST_F(CableWholeTest, TalksToAPhoneOnTheLoopbackAddress) {
  cable->link().enterCableMode();
  test::PhoneListener listener(kCablePort);
  ASSERT_TRUE(loopbackPhoneConnects(listener));

  phone->send(100, 0, bytesOf("<plist><dict><key>name</key><string>Ana</string></dict></plist>"));
  phone->send(101, 0, encodeText("hello"));
  ASSERT_TRUE(until([&] { return console.size() == 2; }));
  EXPECT_EQ(console[0], "Connected to {\n    name = Ana;\n}");
  EXPECT_EQ(console[1], "[127.0.0.1:2345]: hello");

  ASSERT_TRUE(phoneGot(102));
  EXPECT_NE(phone->frames.front().tag, 0U);
  phone->send(103, phone->frames.front().tag, {});
  ASSERT_TRUE(until([&] {
    return std::ranges::any_of(
        lines, [](auto& line) { return line.starts_with("Ping total roundtrip time: "); });
  }));

  wire::AudioChunk chunk{};
  for (std::size_t i = 0; i < chunk.size(); ++i) chunk[i] = static_cast<float>(i) / 882;
  sendAudio(chunk);
  EXPECT_TRUE(cable->sendMessage("ñ"));
  ASSERT_TRUE(phoneGot(104));
  ASSERT_TRUE(phoneGot(101));
  Bytes samples(sizeof chunk);
  std::memcpy(samples.data(), chunk.data(), samples.size());
  EXPECT_THAT(phone->frames, Contains(SentFrame{104, 0, samples}));
  EXPECT_THAT(phone->frames, Contains(SentFrame{101, 0, encodeText("ñ")}));

  phone->hangUp();
  ASSERT_TRUE(disconnects("127.0.0.1:2345"));
  phone.reset();
  EXPECT_TRUE(loopbackPhoneConnects(listener)) << "the search goes on";
}

TEST_F(CableWholeTest, ConnectsOnceTheAppOnThePhoneRuns) {
  service.start();
  service.attach(5);
  cable->link().enterCableMode();
  ASSERT_TRUE(until([&] { return service.connects.size() >= 2; }));
  EXPECT_EQ(service.connects.back(), "5:2345 3");
  EXPECT_THAT(lines, Contains(AllOf(StartsWith("Failed to connect to device #5: "),
                                    HasSubstr("the app on the phone is not running"))));
  service.openApp(5);
  ASSERT_TRUE(usbPhoneConnects(5));
  phone->send(101, 0, encodeText("hi"));
  EXPECT_TRUE(until([&] { return std::ranges::count(console, "[5]: hi") == 1; }));
  sendAudio({});
  EXPECT_TRUE(phoneGot(104));
}

TEST_F(CableWholeTest, SurvivesThePulledCableAndTheEndOfTheService) {
  ASSERT_TRUE(appRunsOnAPhone());
  const auto frame = encodeFrame(101, 0, encodeText("never to arrive"));
  phone->sendBytes(std::span(frame).first(20));
  phone->hangUp();
  service.detach(5);
  ASSERT_TRUE(disconnects("5"));

  phone.reset();
  service.attach(6);  // the service gives a new number
  service.openApp(6);
  ASSERT_TRUE(usbPhoneConnects(6));

  phone->hangUp();
  service.stop();
  ASSERT_TRUE(disconnects("6"));
  ASSERT_TRUE(until([&] { return !cable->link().connectingToDeviceID(); }));
  phone.reset();
  service.start();
  EXPECT_TRUE(usbPhoneConnects(6));
}

TEST_F(CableWholeTest, EndsQuietlyInTheMiddleOfEverything) {
  ASSERT_TRUE(appRunsOnAPhone());
  sendAudio({});
  ASSERT_TRUE(phoneGot(104)) << "pacing ends before the cable does";
  cable->sendMessage("bye");
  cable.reset();
  EXPECT_TRUE(until([&] { return phone->sawEnd; }));
  EXPECT_FALSE(phone->sawBrokenFrame);
}

}  // namespace
}  // namespace quorin::usb

int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  if (!quorin::test::enterOwnNetwork()) {
    std::puts("skipped: a network of its own needs root or user namespaces");
    return 77;  // what CTest takes for skipped
  }
  const QCoreApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
