#include "usb/cable.h"

#include "core/simulated_scheduler.h"
#include "support/allocation_count.h"
#include "support/eventually.h"
#include "support/fake_phone.h"
#include "support/fake_usbmuxd.h"
#include "support/log_capture.h"
#include "support/own_network.h"
#include "support/temporary_directory.h"
#include "wire/cable_frames.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QCoreApplication>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorin::usb {
namespace {

using namespace std::chrono_literals;
using test::Bytes;
using test::bytes;
using test::bytesOf;
using test::SentFrame;
using test::operator+;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

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
      if (auto next = test::acceptFrom(loopback)) {
        phones.insert_or_assign(0, test::FakePhone(std::move(next)));
      }
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
  /// Phone 5 is plugged in, its app runs and is connected; for 1 s.
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
    if (!loopback) loopback = test::listenAt(wire::kCablePort);
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
  posix::FileDescriptor loopback;
  std::map<DeviceID, test::FakePhone>& phones = service.phones;  ///< 0: on the loopback address

  dispatch::SimulatedScheduler time;
  std::unique_ptr<dispatch::SerialQueue> sendQueue = time.makeSerialQueue("send");
  PTUSBHub hub{time.mainQueue()};
  std::vector<std::string> lines_;
  struct {
    UsbService service;
    std::size_t phones;
    PhoneAnswer answer;
    bool appAnswers;
  } page{};  ///< what it was told last
  Cable cable{{.scheduler = time, .hub = hub, .sendQueue = *sendQueue},
              {.didChange =
                   [this] {
                     page = {hub.service(), link.phones(), link.phoneAnswer(), cable.appAnswers()};
                   },
               .presentMessage =
                   [this](std::string_view text, bool isStatus) {
                     lines_.push_back((isStatus ? "status: " : "message: ") + std::string(text));
                   }}};
  CableLink& link = cable.link();
};

// ---- Which phone is tried, and when

TEST_F(CableTest, NothingIsTriedUntilTheCableModeIsChosen) {
  loopback = test::listenAt(wire::kCablePort);
  plugIn(5);
  leaveCable();
  plugIn(6);
  pass(10s);
  EXPECT_THAT(connects(), IsEmpty());
  EXPECT_EQ(link.connectingToDeviceID(), 5U) << "the second one waits in the queue";
  enterCable();
  pass(100ms);
  EXPECT_EQ(link.connectingToDeviceID(), 6U);
  EXPECT_TRUE(link.connectedChannel());
}

TEST_F(CableTest, APhoneWithoutItsAppIsTriedOnceASecond) {
  plugIn(5);
  enterCable();
  for (int second = 0; second < 5; ++second) {
    EXPECT_THAT(connects(), ElementsAre("5:2345 3"));
    EXPECT_THAT(log.take(), Contains(StartsWith("Failed to connect to device #5: the app")));
    pass(900ms);
    EXPECT_THAT(connects(), IsEmpty());
    for (int i = 0; i < 10; ++i) {  // choosing the mode again multiplies nothing
      leaveCable();
      enterCable();
    }
    connects();
    pass(999ms);
    EXPECT_THAT(connects(), IsEmpty());
    pass(1ms);
  }
}

/// Phones come and go (below 0); who is tried for the next two seconds?
TEST_F(CableTest, TheTargetIsThePhoneThatWasPluggedInLastOfThoseThatAreThere) {
  const struct {
    const char* name;
    std::vector<int> steps;
    std::optional<DeviceID> target;
  } cases[] = {
      {"the newest", {5, 6}, 6},
      {"back to the one that is left", {5, 6, -6}, 5},
      {"another one leaves", {5, 6, -5}, 6},
      {"a number is used again", {5, -5, 5}, 5},
      {"none is left", {5, -5}, std::nullopt},
  };
  for (const bool waiting : {false, true}) {  // in the suspended queue
    for (const auto& row : cases) {
      SCOPED_TRACE(row.name);
      waiting ? leaveCable() : enterCable();
      for (const auto step : row.steps) {
        const auto device = static_cast<DeviceID>(std::abs(step));
        step > 0 ? plugIn(device) : pullOut(device);
      }
      enterCable();
      EXPECT_EQ(link.connectingToDeviceID(), row.target);
      connects();
      pass(2s);
      const auto expected = row.target ? std::to_string(*row.target) + ":2345 3" : "";
      EXPECT_THAT(connects(), testing::Each(expected));
      for (DeviceID device : {5U, 6U}) pullOut(device);
    }
  }
}

TEST_F(CableTest, ASecondPhoneWaitsForTheChannelToEnd) {
  connected();
  service.apps = {5, 7};
  plugIn(6);
  plugIn(7);
  pullOut(6);
  link.enterCableMode();  // once more
  pass(3s);
  EXPECT_EQ(link.connectedDeviceID(), 5U);
  pullOut(5);
  phones.at(5).hangUp();
  run();
  EXPECT_EQ(link.connectedDeviceID(), 7U);
}

TEST_F(CableTest, AnEndedChannelIsFollowedAtOnceAndABriefOneAfterASecond) {
  const struct {
    const char* name;
    dispatch::Duration life;
    void (*end)(test::FakePhone&);
  } cases[] = {{"long", 1s, [](auto& phone) { phone.hangUp(); }},
               {"accepted and closed", 0s, [](auto& phone) { phone.hangUp(); }},
               {"wrong type", 0s, [](auto& phone) { phone.send(99, 0, {}); }},
               {"wrong version", 0s, [](auto& phone) { phone.sendBytes(Bytes(16)); }},
               {"too large", 0s, [](auto& phone) {
                  phone.sendBytes(bytes({0, 0, 0, 1, 0, 0, 0, 101, 0, 0, 0, 0, 0x7F, 0, 0, 0}));
                }}};
  connected();
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    pass(row.life);
    console();
    connects();
    row.end(phones.at(5));
    run();
    EXPECT_THAT(console(), ElementsAre("status: Disconnected from 5"));
    if (row.life == 0s) {
      pass(900ms);
      EXPECT_THAT(connects(), IsEmpty());
      pass(100ms);
    }
    EXPECT_THAT(connects(), ElementsAre("5:2345 0"));
    EXPECT_EQ(link.connectedDeviceID(), 5U);
  }
}

// ---- The loopback address

TEST_F(CableTest, AnotherUsersListenerIsNotTaken) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root";
  const auto child = ::fork();
  if (child == 0) {
    if (::setuid(65534) != 0) ::_exit(1);
    const auto other = test::listenAt(wire::kCablePort);
    ::pause();
  }
  enterCable();
  EXPECT_TRUE(test::eventually([&] {
    pass(1s);
    const auto lines = log.take();
    return std::ranges::any_of(lines, [](auto& line) { return line.contains("another user's"); });
  }));
  EXPECT_FALSE(link.connectedChannel());
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
  connectedLocally();
}

TEST_F(CableTest, APhoneThatAcceptsReplacesALoopbackChannel) {
  connectedLocally();
  plugIn(5);
  pass(2s);
  EXPECT_GE(connects().size(), 2U);
  EXPECT_TRUE(link.connectedChannel());
  service.apps = {5};
  pass(1s);
  EXPECT_EQ(link.connectedDeviceID(), 5U);
  EXPECT_TRUE(phones.at(0).sawEnd);
  EXPECT_TRUE(link.notConnectedQueueSuspended());
}

TEST_F(CableTest, ALoopbackAppThatComesAndGoesDoesNotRestartThePhonesAttempt) {
  connectedLocally();
  service.answers = false;
  plugIn(5);
  pass(1s);
  const auto accepted = service.accepted;
  for (int i = 0; i < 3; ++i) {
    phones.at(0).hangUp();
    pass(1200ms);
  }
  EXPECT_EQ(service.accepted, accepted);
}

TEST_F(CableTest, LeavingClosesAPhonesChannelAndKeepsALoopbackOneWithoutGoingOnAfterIt) {
  connected();
  leaveCable();
  EXPECT_TRUE(phones.at(5).sawEnd);
  EXPECT_FALSE(link.connectedDeviceID());
  pullOut(5);

  for (const bool wifiReentered : {false, true}) {
    connectedLocally();
    leaveCable();
    EXPECT_TRUE(link.connectedChannel());
    if (wifiReentered) link.clearForcedOffline();
    EXPECT_EQ(link.userForcedOffline(), !wifiReentered);
    plugIn(6);
    phones.at(0).hangUp();
    pass(5s);
    EXPECT_FALSE(link.connectedChannel()) << "the app still listens";
    EXPECT_THAT(connects(), Not(Contains(StartsWith("6"))));
    enterCable();
    pass(100ms);
    EXPECT_TRUE(link.connectedChannel());
    pullOut(6);
    connects();
  }
}

// ---- What is said on the channel

TEST_F(CableTest, ShowsWhatThePhoneSays) {
  const auto info =
      bytesOf("<plist version=\"1.0\"><dict><key>name</key><string>Ana</string></dict></plist>");
  const struct {
    const char* name;
    std::uint32_t type;
    Bytes payload;
    std::vector<std::string> lines;
  } cases[] = {
      {"device information",
       100,
       info,
       {"status: Connected to <dict>\n\t<key>name</key>\n\t<string>Ana</string>\n</dict>"}},
      {"unreadable", 100, {}, {"status: Connected to (unreadable device information)"}},
      {"text", 101, wire::encodeText("hello"), {"message: [5]: hello"}},
      {"cut text",
       101,
       bytes({0, 0, 0, 9}) + bytesOf("hello"),
       {"status: [5]: a text message that cannot be read: it is shorter than it says"}},
      {"end of stream", 0, {}, {}},
      {"a ping", 102, {}, {}},
      {"an unexpected pong", 103, {}, {}},
      {"audio", 104, Bytes(3528), {}},
  };
  EXPECT_FALSE(cable.sendMessage("hi")) << "nobody is there";
  auto& phone = connected();
  for (const auto& row : cases) {
    phone.send(row.type, 77, row.payload);
    run();
    EXPECT_EQ(console(), row.lines) << row.name;
  }
  EXPECT_EQ(cable.phoneName(), "Ana");
  EXPECT_TRUE(link.connectedChannel());
  EXPECT_TRUE(cable.sendMessage("ñ!"));
  run();
  EXPECT_THAT(phone.frames, Contains(SentFrame{101, 0, bytes({0, 0, 0, 3, 0xC3, 0xB1, '!'})}));
  EXPECT_THAT(console(), ElementsAre("message: [you]: ñ!"));
}

TEST_F(CableTest, AFloodOfTextsIsCountedNotWritten) {
  auto& phone = connected();
  for (int i = 0; i < 100; ++i) phone.send(101, 0, bytes({0, 0, 0, 1, 'x'}));
  pass(2s);
  const auto lines = console();
  ASSERT_EQ(lines.size(), LineLimit::kLinesPerSecond + 1);
  EXPECT_EQ(lines.back(), "status: 80 more lines from the phone are left out");
  phone.send(101, 0, bytes({0, 0, 0, 1, 'x'}));
  run();
  EXPECT_EQ(console().size(), 1U);
}

TEST_F(CableTest, PingsEachSecondAndSaysWhenTheAppFallsSilent) {
  cable.ping();
  auto& phone = connected();
  pass(3s);
  EXPECT_GE(count(phone, wire::CableFrame::kPing), 3U);
  EXPECT_TRUE(page.appAnswers);
  pass(1s);
  EXPECT_FALSE(page.appAnswers) << "5 s without a pong";

  const auto tag = phone.frames.back().tag;
  log.take();
  phone.send(103, tag, bytesOf("ignored"));
  run();
  EXPECT_TRUE(page.appAnswers);
  EXPECT_THAT(log.take(), ElementsAre("Ping total roundtrip time: 0.000 ms"));
  phone.send(103, tag, {});
  run();
  EXPECT_THAT(log.take(), IsEmpty()) << "answered before";

  phone.hangUp();
  run();
  auto& second = connected();
  pass(1s);
  EXPECT_GE(count(second, wire::CableFrame::kPing), 1U) << "the loop survives its channel";
}

TEST_F(CableTest, AChunkIsOneFrameAndAPhoneThatStopsReadingCostsOnlySound) {
  wire::AudioChunk chunk{};
  chunk[0] = 1.0F;
  chunk[881] = -0.5F;
  const auto send = [&] {
    sendQueue->async([&] { cable.audioPath().send(chunk); });
    run();
  };
  send();
  auto& phone = connected();
  send();
  const auto samples = bytes({0, 0, 0x80, 0x3F}) + Bytes(3528 - 8) + bytes({0, 0, 0, 0xBF});
  EXPECT_THAT(phone.frames, Contains(SentFrame{104, 0, samples}));
  EXPECT_EQ(count(phone, wire::CableFrame::kAudio), 1U);

  std::size_t allocations = 0;
  sendQueue->async([&] {  // far more than the phone reads meanwhile
    for (int i = 0; i < 5000; ++i) cable.audioPath().send(chunk);
    const auto before = test::allocationsOfThisThread();
    for (int i = 0; i < 5000; ++i) cable.audioPath().send(chunk);
    allocations = test::allocationsOfThisThread() - before;
  });
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(cable.sendMessage("still here"));
  log.take();
  time.runPending();  // and still the phone does not read
  EXPECT_EQ(allocations, 0U);
  EXPECT_EQ(std::ranges::count(log.take(), "Failed to send message: No buffer space available"),
            100 - FrameOutbox::kMaxReliable);
  for (int i = 0; i < 5; ++i) send();  // what has waited leaves with the next chunks
  EXPECT_EQ(count(phone, wire::CableFrame::kText), FrameOutbox::kMaxReliable);
  EXPECT_LT(count(phone, wire::CableFrame::kAudio), 1000U) << "the others were dropped";
  EXPECT_FALSE(phone.sawBrokenFrame);

  phone.send(101, 0, wire::encodeText("bye"));
  phone.hangUp();
  send();  // so that writing fails before reading has found the end
  EXPECT_THAT(console(), Contains("message: [5]: bye"));
  leaveCable();
  EXPECT_FALSE(cable.audioPath().isOpen());
  send();
}

// ---- The USB service

TEST_F(CableTest, TellsHowFarAPhoneLetsTheComputerIn) {
  plugIn(4, "Network");
  enterCable();
  EXPECT_EQ(page.phones, 0U) << "known over the network only";
  service.strangers = {5};
  plugIn(5);
  EXPECT_EQ(page.answer, PhoneAnswer::kLocked);
  service.strangers.clear();
  pass(1s);
  EXPECT_EQ(page.answer, PhoneAnswer::kNoListener);
  EXPECT_EQ(page.phones, 1U);
}

TEST_F(CableTest, AServiceThatEndsTakesItsPhonesAlongAndIsFoundAgain) {
  connected();
  service.stop();
  phones.at(5).hangUp();
  run();
  EXPECT_EQ(page.phones, 0U);
  pass(1s);
  EXPECT_EQ(page.service, UsbService::kMissing);
  EXPECT_FALSE(link.connectedChannel());
  pass(20s);
  service.start();
  pass(1s);
  EXPECT_EQ(page.service, UsbService::kRunning);
  EXPECT_EQ(link.connectedDeviceID(), 5U);
}

TEST_F(CableTest, AServiceThatDoesNotAnswerIsAskedLessAndLessOften) {
  service.answers = false;
  service.stop();
  service.start();
  service.accepted = 0;
  pass(60s);
  EXPECT_EQ(page.service, UsbService::kFailing);
  EXPECT_THAT(service.accepted, testing::AllOf(testing::Ge(5U), testing::Le(8U)))
      << "after 5 s of silence and a pause of 1, 2, 4, 8, 10, 10 s";
  service.answers = true;
  pass(20s);
  EXPECT_EQ(page.service, UsbService::kRunning);
}

}  // namespace
}  // namespace quorin::usb

int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  if (!GTEST_FLAG_GET(list_tests) && !quorin::test::enterOwnNetwork()) {
    std::puts("skipped: a network of its own needs root or user namespaces");
    return 77;  // what CTest takes for skipped
  }
  const QCoreApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
