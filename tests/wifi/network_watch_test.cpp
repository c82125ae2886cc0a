#include "wifi/network_watch.h"

#include "core/simulated_scheduler.h"

#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <ranges>
#include <string>
#include <vector>

namespace quorin::wifi {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A computer whose address changes at will, and what the watch said about it, each with the
/// simulated second at which it was said.
class NetworkWatchTest : public ::testing::Test, public NetworkWatchListener {
 public:
  void onAddressLost() override { record("lost"); }
  void onAddressBack(const std::string& address) override { record("back " + address); }
  void onAddressChanged(const std::string& address) override { record("changed " + address); }
  void onNetworkChangeSettled(const std::string& address) override { record("settled " + address); }
  void onNetworksChanged(const LocalNetworks&) override { ++networkChanges_; }

 protected:
  void record(const std::string& what) {
    const auto seconds =
        std::chrono::duration_cast<std::chrono::duration<double>>(scheduler_.now() - begin_);
    std::string at = std::to_string(seconds.count());
    at.resize(at.find('.') + 2);
    heard_.push_back(at + " " + what);
  }

  std::vector<std::string> heardAfter(dispatch::Duration time) {
    scheduler_.advance(time);
    return std::exchange(heard_, {});
  }

  dispatch::SimulatedScheduler scheduler_;
  LocalNetworks look() {
    LocalNetworks networks{.candidates = others_, .subnets = {}};
    if (address_ && !std::exchange(nextLookFails_, false)) {
      networks.candidates.push_back({"wlan0", *address_});
    }
    return networks;
  }

  std::optional<std::string> address_ = "192.168.1.20";
  bool nextLookFails_ = false;
  std::vector<Candidate> others_;
  int networkChanges_ = 0;
  std::vector<std::string> heard_;
  std::unique_ptr<NetworkWatch> watch_ =
      std::make_unique<NetworkWatch>(scheduler_, [this] { return look(); }, *this);
  dispatch::TimePoint begin_ = scheduler_.now();
};

TEST_F(NetworkWatchTest, TellsLossesReturnsAndChangesAndWhenTheyHaveSettled) {
  const std::string first = "10.0.0.1";
  const struct {
    const char* name;
    std::vector<std::optional<std::string>> addresses;  // at each second, the last ever after
    std::vector<std::string> heard;
  } cases[] = {
      {"nothing", {first}, {}},
      {"a loss",
       {first, {}, {}, first},
       {"1.0 lost", "2.0 lost", "3.0 back 10.0.0.1", "4.0 settled 10.0.0.1"}},
      {"a first address",
       {{}, {}, first},
       {"1.0 lost", "2.0 back 10.0.0.1", "3.0 settled 10.0.0.1"}},
      {"a change", {first, "10.0.0.2"}, {"1.0 changed 10.0.0.2", "3.0 settled 10.0.0.2"}},
      {"another before it has settled",
       {first, "10.0.0.2", "10.0.0.3"},
       {"1.0 changed 10.0.0.2", "2.0 changed 10.0.0.3", "4.0 settled 10.0.0.3"}},
      {"a loss before it has settled",
       {first, "10.0.0.2", {}, {}, {}, {}, first},
       {"1.0 changed 10.0.0.2", "2.0 lost", "3.0 lost", "4.0 lost", "5.0 lost", "6.0 back 10.0.0.1",
        "7.0 settled 10.0.0.1"}},
  };
  for (const auto& row : cases) {
    address_ = row.addresses.front();
    begin_ = scheduler_.now();
    watch_->startIPWatch();
    scheduler_.advance(500ms);
    for (const auto& address : row.addresses | std::views::drop(1)) {
      address_ = address;
      scheduler_.advance(1s);
    }
    EXPECT_THAT(heardAfter(10s), ::testing::ElementsAreArray(row.heard)) << row.name;
    watch_->stopIPWatch();
  }
}

// For less than a tick, exactly when the change settles or the watch starts.
TEST_F(NetworkWatchTest, ALossThatOnlyOneLookSeesIsOverAtTheNextTick) {
  nextLookFails_ = true;
  watch_->startIPWatch();
  EXPECT_EQ(watch_->address(), std::nullopt);
  EXPECT_THAT(heardAfter(1500ms), ElementsAre("1.0 back 192.168.1.20"));
  EXPECT_EQ(watch_->address(), address_);

  scheduler_.advance(400ms);
  nextLookFails_ = true;
  EXPECT_THAT(heardAfter(2s),
              ElementsAre("2.0 lost", "2.0 back 192.168.1.20", "3.0 settled 192.168.1.20"));
}

TEST_F(NetworkWatchTest, TheAddressStaysWhileOthersComeAndTheUserMayChoose) {
  watch_->startIPWatch();
  others_ = {{"eth0", "10.0.0.1"}};
  EXPECT_THAT(heardAfter(3s), IsEmpty()) << "a cable was plugged in";
  EXPECT_EQ(networkChanges_, 2);
  EXPECT_EQ(watch_->address(), address_);

  watch_->choose("10.0.0.1");
  EXPECT_EQ(watch_->address(), "10.0.0.1") << "at once";
  EXPECT_THAT(heardAfter(3s), IsEmpty());
  watch_->choose({});
  EXPECT_EQ(watch_->address(), "10.0.0.1");
  watch_->choose("10.9.9.9");
  EXPECT_EQ(watch_->address(), "10.0.0.1") << "not there yet";
  others_.push_back({"eth1", "10.9.9.9"});
  EXPECT_THAT(heardAfter(1s), IsEmpty()) << "phones may listen at the other one";
  watch_->stopIPWatch();
  watch_->startIPWatch();
  EXPECT_EQ(watch_->address(), "10.9.9.9");
}

TEST_F(NetworkWatchTest, ALookFromBeforeTheStopIsNotHeardAfterIt) {
  bool stopDuringTheLook = false;
  watch_ = std::make_unique<NetworkWatch>(
      scheduler_,
      [&] {
        if (std::exchange(stopDuringTheLook, false)) {
          scheduler_.mainQueue().async([&] {
            watch_->stopIPWatch();
            address_ = "10.0.0.6";
            watch_->startIPWatch();
          });
        }
        return look();
      },
      *this);
  watch_->startIPWatch();
  address_ = "10.0.0.5";
  stopDuringTheLook = true;  // so that the stop stands before the result in the main queue
  EXPECT_THAT(heardAfter(10s), IsEmpty());
}

}  // namespace
}  // namespace quorin::wifi
