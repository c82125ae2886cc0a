#include "usb/cable_link.h"

#include "core/simulated_scheduler.h"
#include "support/fake_cable.h"
#include "support/log_capture.h"
#include "usb/cable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace quorin::usb {
namespace {

using namespace std::chrono_literals;
using test::FakeChannel;
using testing::ElementsAre;
using testing::IsEmpty;

const auto kRefused = std::make_error_code(std::errc::connection_refused);
const PTAddress kSimulatedPhone{.address = kLoopbackAddress, .port = 2345};

/// The link of a real cable, to which its channels report.
class CableLinkTest : public testing::Test {
 protected:
  CableLinkTest() {
    link.startListeningForDevices();
    link.enqueueConnectToLocalIPv4Port();
    run();
  }

  void run() { scheduler.runPending(); }
  void pass(dispatch::Duration duration) { scheduler.advance(duration); }
  void plugIn(DeviceID device) {
    hub.attach(device);
    run();
  }
  void pullOut(DeviceID device) {
    hub.detach(device);
    run();
  }
  void chooseCable() {
    link.enterCableMode();
    run();
  }
  /// Phone 5 is plugged in, and looked for.
  void search() {
    plugIn(5);
    chooseCable();
  }
  void leaveCable() {
    link.leaveCableMode();
    run();
  }

  /// The attempt that waits for a result; the test fails when there is none.
  std::shared_ptr<FakeChannel> attempt(const std::string& destination) {
    auto channel = channels.connecting(destination);
    EXPECT_TRUE(channel) << "nobody connects to " << destination;
    return channel ? channel
                   : std::make_shared<FakeChannel>(scheduler.mainQueue(),
                                                   std::weak_ptr<PTChannelDelegate>());
  }
  std::shared_ptr<FakeChannel> usbConnects(DeviceID device) {
    const auto channel = attempt("usb " + std::to_string(device));
    channel->connects();
    run();
    return channel;
  }
  std::shared_ptr<FakeChannel> loopbackConnects() {
    const auto channel = attempt("ipv4");
    channel->connects(kSimulatedPhone);
    run();
    return channel;
  }
  void fails(const std::string& destination, std::error_code error = kRefused) {
    attempt(destination)->failsToConnect(error);
    run();
  }

  std::size_t attempts(const std::string& destination) const {
    std::size_t count = 0;
    for (const auto& channel : channels.made)
      count += channel->destination.starts_with(destination);
    return count;
  }
  bool isHeld(const std::shared_ptr<FakeChannel>& channel) const {
    return link.connectedChannel() == channel && !channel->isClosed;
  }

  test::LogCapture log;
  dispatch::SimulatedScheduler scheduler;
  test::FakeHub hub;
  test::FakeChannels channels{scheduler.mainQueue()};
  std::unique_ptr<dispatch::SerialQueue> sendQueue = scheduler.makeSerialQueue("send");
  std::vector<bool> display;  ///< what `onChannelChanged` said
  std::vector<std::string> announced;
  Cable cable{{scheduler, hub, channels},
              *sendQueue,
              {.onChannelChanged = [this](bool connected) { display.push_back(connected); },
               .presentMessage = {},
               .willChangeConnectedDeviceID = [this] { announced.emplace_back("will change"); },
               .didChangeConnectedDeviceID = [this] { announced.emplace_back("did change"); }}};
  CableLink& link = cable.link();
};

// ---- Off

TEST_F(CableLinkTest, AttemptsNothingUntilTheCableModeIsChosen) {
  plugIn(5);
  pass(10s);
  EXPECT_THAT(channels.made, IsEmpty());
  EXPECT_EQ(link.connectingToDeviceID(), 5U);
}

TEST_F(CableLinkTest, KeepsAnAttachWaitingWhileAnotherModeIsOn) {
  leaveCable();
  plugIn(5);
  EXPECT_EQ(link.connectingToDeviceID(), std::nullopt);
  chooseCable();
  EXPECT_TRUE(channels.connecting("usb 5"));
}

TEST_F(CableLinkTest, LeavingClosesAUsbChannelAndKeepsALoopbackOne) {
  for (const bool overUsb : {true, false}) {
    search();
    const auto channel = overUsb ? usbConnects(5) : loopbackConnects();
    leaveCable();
    EXPECT_EQ(channel->isClosed, overUsb);
    EXPECT_EQ(link.connectedChannel() == nullptr, overUsb);
    EXPECT_TRUE(link.notConnectedQueueSuspended());
    EXPECT_TRUE(link.userForcedOffline());
    pullOut(5);
  }
}

TEST_F(CableLinkTest, ClosesAChannelThatConnectsAfterTheModeWasLeft) {
  search();
  const auto usb = attempt("usb");
  const auto loopback = attempt("ipv4");
  leaveCable();
  usb->connects();
  loopback->connects(kSimulatedPhone);
  const auto made = channels.made.size();
  pass(5s);
  EXPECT_TRUE(usb->isClosed);
  EXPECT_TRUE(loopback->isClosed);
  EXPECT_EQ(link.connectedChannel(), nullptr);
  EXPECT_EQ(link.connectedDeviceID(), std::nullopt);
  EXPECT_EQ(channels.made.size(), made) << "no further attempt";
}

TEST_F(CableLinkTest, SetConnectedChannelRefusesAChannelWhileOff) {
  const auto channel =
      std::make_shared<FakeChannel>(scheduler.mainQueue(), std::weak_ptr<PTChannelDelegate>());
  link.setConnectedChannel(channel);
  run();
  EXPECT_TRUE(channel->isClosed);
  EXPECT_EQ(link.connectedChannel(), nullptr);
  EXPECT_FALSE(link.notConnectedQueueSuspended());
  EXPECT_THAT(display, ElementsAre(false));
}

// ---- Searching

TEST_F(CableLinkTest, RepeatsFailedAttemptsEachSecond) {
  search();
  log.take();
  for (std::size_t n = 1; n <= 5; ++n) {
    EXPECT_EQ(attempts("usb"), n);
    EXPECT_EQ(attempts("ipv4"), n);
    fails("usb", {ECONNREFUSED, usbHubCategory()});
    fails("ipv4");
    EXPECT_THAT(log.take(), ElementsAre(testing::StartsWith("Failed to connect to device #5: ")));
    pass(999ms);
    EXPECT_EQ(attempts(""), 2 * n) << "not before its second";
    pass(1ms);
  }
}

TEST_F(CableLinkTest, LogsALoopbackFailureThatIsMoreThanNobodyListening) {
  chooseCable();
  log.take();
  fails("ipv4", std::make_error_code(std::errc::timed_out));
  EXPECT_THAT(log.take(), IsEmpty());
  pass(1s);
  fails("ipv4", std::make_error_code(std::errc::too_many_files_open));
  EXPECT_THAT(log.take(),
              ElementsAre(testing::StartsWith("Failed to connect to 127.0.0.1:2345: ")));
  pass(1s);
  EXPECT_TRUE(channels.connecting("ipv4"));
}

TEST_F(CableLinkTest, NewsThatConcernNothingChangeNothing) {
  search();
  plugIn(5);
  EXPECT_EQ(attempts("usb"), 1U);
  const auto channel = usbConnects(5);
  pullOut(6);
  EXPECT_TRUE(isHeld(channel));
}

TEST_F(CableLinkTest, TheNewestDeviceBecomesTheTarget) {
  search();
  const auto old = attempt("usb 5");
  plugIn(6);
  EXPECT_EQ(link.connectingToDeviceID(), 6U);
  EXPECT_TRUE(channels.connecting("usb 6"));

  old->failsToConnect(kRefused);
  pass(3s);
  EXPECT_EQ(attempts("usb 5"), 1U) << "the replaced device is not tried again";
  usbConnects(6);
  EXPECT_EQ(link.connectedDeviceID(), 6U);
}

TEST_F(CableLinkTest, DropsAConnectionToADeviceThatIsNoLongerTheTarget) {
  search();
  const auto replaced = attempt("usb 5");
  plugIn(6);
  replaced->connects();
  run();
  EXPECT_TRUE(replaced->isClosed);
  EXPECT_EQ(link.connectedChannel(), nullptr);

  const auto pulled = attempt("usb 6");
  pullOut(6);
  pulled->connects();
  run();
  EXPECT_TRUE(pulled->isClosed);
  EXPECT_EQ(link.connectedChannel(), nullptr);
}

TEST_F(CableLinkTest, StopsTryingADeviceThatIsPulledOut) {
  search();
  fails("usb 5");
  pullOut(5);
  pass(5s);
  EXPECT_EQ(attempts("usb"), 1U);
  EXPECT_EQ(link.connectingToDeviceID(), std::nullopt);
}

TEST_F(CableLinkTest, TheSameNumberPluggedInAgainIsTriedOnceASecondNotTwice) {
  search();
  const auto stale = attempt("usb 5");
  pullOut(5);
  plugIn(5);
  stale->failsToConnect(kRefused);
  fails("usb 5");
  EXPECT_EQ(attempts("usb 5"), 2U);
  pass(1s);
  EXPECT_EQ(attempts("usb 5"), 3U);
}

TEST_F(CableLinkTest, AttemptsDoNotMultiplyHoweverOftenTheModeIsChosen) {
  search();
  for (int i = 0; i < 10; ++i) {
    fails("usb");
    fails("ipv4");
    leaveCable();
    pass(100ms);
    chooseCable();
  }
  fails("usb");
  fails("ipv4");
  const auto made = channels.made.size();
  pass(1s);
  EXPECT_EQ(channels.made.size(), made + 2);
}

TEST_F(CableLinkTest, RequestsThatWaitedTogetherAreOneAttempt) {
  search();
  leaveCable();
  channels.made.clear();
  link.setUserForcedOffline(false);
  for (int i = 0; i < 3; ++i) {
    link.enqueueConnectToLocalIPv4Port();
    link.enqueueConnectToUSBDevice();
  }
  pass(5s);
  EXPECT_THAT(channels.made, IsEmpty());
  chooseCable();
  EXPECT_EQ(attempts("usb"), 1U);
  EXPECT_EQ(attempts("ipv4"), 1U);
}

TEST_F(CableLinkTest, AnAttemptThatHasLeftTheQueueStillWaitsWhenItIsSuspended) {
  auto& main = scheduler.mainQueue();
  main.async([&] { main.async([&] { link.leaveCableMode(); }); });
  chooseCable();  // the attempt reaches the main queue behind the departure
  EXPECT_THAT(channels.made, IsEmpty());
  chooseCable();
  EXPECT_EQ(channels.made.size(), 1U);
}

TEST_F(CableLinkTest, DevicesKeepTheirOrderHoweverLateTheMainQueueIs) {
  chooseCable();
  log.take();
  hub.attach(5);
  hub.detach(5);
  run();
  EXPECT_EQ(link.connectingToDeviceID(), std::nullopt) << "it is not there any more";

  hub.attach(6);
  loopbackConnects();  // the turn of the first meets a suspended queue
  hub.attach(7);
  run();
  link.connectedChannel()->close();
  run();
  EXPECT_EQ(link.connectingToDeviceID(), 7U) << "plugged in last";
}

// ---- Connected

TEST_F(CableLinkTest, AttemptsWaitWhileConnectedAndRunWhenTheChannelEnds) {
  search();
  fails("usb");
  const auto channel = loopbackConnects();
  pass(10s);
  EXPECT_EQ(channels.made.size(), 2U) << "both retries wait";

  channel->cableBreaks();
  run();
  EXPECT_FALSE(link.notConnectedQueueSuspended());
  EXPECT_THAT(display, ElementsAre(true, false));
  EXPECT_EQ(attempts("usb"), 2U);
  EXPECT_EQ(attempts("ipv4"), 2U);
}

TEST_F(CableLinkTest, ASecondPhoneWaitsForTheChannelToEnd) {
  search();
  const auto first = usbConnects(5);
  plugIn(6);
  pass(3s);
  EXPECT_TRUE(isHeld(first));
  EXPECT_EQ(link.connectingToDeviceID(), 5U);

  pullOut(5);
  EXPECT_TRUE(first->isClosed);
  EXPECT_EQ(link.connectingToDeviceID(), 6U);
  usbConnects(6);
  EXPECT_EQ(link.connectedDeviceID(), 6U);
}

TEST_F(CableLinkTest, PullingOutTheTargetClosesTheChannelWhateverItIs) {
  for (const bool overUsb : {true, false}) {
    search();
    const auto channel = overUsb ? usbConnects(5) : loopbackConnects();
    pullOut(5);
    EXPECT_TRUE(channel->isClosed);
    EXPECT_EQ(link.connectedChannel(), nullptr);
    EXPECT_EQ(link.connectingToDeviceID(), std::nullopt);
    EXPECT_FALSE(link.notConnectedQueueSuspended());
    pass(1s);
  }
}

TEST_F(CableLinkTest, AnnouncesTheLossOfTheConnectedDeviceAroundIt) {
  search();
  usbConnects(5);
  link.didDisconnectFromDevice(6);
  EXPECT_THAT(announced, IsEmpty());
  link.didDisconnectFromDevice(5);
  EXPECT_THAT(announced, ElementsAre("will change", "did change"));
  EXPECT_EQ(link.connectedDeviceID(), std::nullopt);
}

TEST_F(CableLinkTest, TheLaterSuccessReplacesAndClosesTheEarlierChannel) {
  for (const bool usbIsLater : {true, false}) {
    search();
    const auto made = channels.made.size();
    const auto later = attempt(usbIsLater ? "usb" : "ipv4");
    const auto earlier = usbIsLater ? loopbackConnects() : usbConnects(5);
    later->connects(kSimulatedPhone);
    run();
    EXPECT_TRUE(earlier->isClosed);
    EXPECT_TRUE(isHeld(later));
    EXPECT_EQ(link.connectedDeviceID().has_value(), usbIsLater);
    EXPECT_TRUE(link.notConnectedQueueSuspended());
    pass(5s);
    EXPECT_EQ(channels.made.size(), made) << "both searches wait";
    pullOut(5);
    pass(1s);
  }
}

TEST_F(CableLinkTest, ALoopbackChannelKeptThroughTheMenuIsReplacedWhenTheModeIsChosenAgain) {
  chooseCable();
  const auto kept = loopbackConnects();
  leaveCable();
  chooseCable();
  EXPECT_TRUE(isHeld(kept));
  const auto next = loopbackConnects();
  EXPECT_TRUE(kept->isClosed);
  EXPECT_TRUE(isHeld(next));
}

}  // namespace
}  // namespace quorin::usb
