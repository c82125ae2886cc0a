#include "wifi/network_watch.h"

#include "core/simulated_scheduler.h"

#include <gmock/gmock.h>

#include <functional>
#include <optional>
#include <ranges>
#include <string>
#include <utility>
#include <vector>

namespace quorin::wifi {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A simulated computer, and the reports of its watch, each with the second at which it came.
class NetworkWatchTest : public ::testing::Test {
 protected:
  void record(AddressStatus status) {
    const auto second = std::chrono::floor<std::chrono::seconds>(scheduler_.now() - begin_).count();
    constexpr const char* kNames[] = {" settled", " lost", " back", " changed"};
    auto entry = std::to_string(second) + kNames[std::to_underlying(status)];
    if (status != AddressStatus::kLost) entry += ' ' + watch_.address().value();
    reported_.push_back(std::move(entry));
  }

  std::vector<std::string> reportedAfter(dispatch::Duration time) {
    scheduler_.advance(time);
    return std::exchange(reported_, {});
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
  std::vector<std::string> reported_;
  std::function<void()> duringLook_ = [] {};
  NetworkWatch watch_{scheduler_,
                      [this] {
                        std::exchange(duringLook_, [] {})();
                        return look();
                      },
                      {.networksChanged = [this] { ++networkChanges_; },
                       .addressChanged = [this](AddressStatus status) { record(status); }}};
  dispatch::TimePoint begin_ = scheduler_.now();
};

TEST_F(NetworkWatchTest, ReportsLossesReturnsAndChangesAndWhenTheyHaveSettled) {
  const std::string first = "10.0.0.1";
  const struct {
    const char* name;
    std::vector<std::optional<std::string>> addresses;  // one per second; the last one stays
    std::vector<std::string> reported;
  } cases[] = {
      {"nothing", {first}, {}},
      {"a loss",
       {first, {}, {}, first},
       {"1 lost", "2 lost", "3 back 10.0.0.1", "4 settled 10.0.0.1"}},
      {"a first address", {{}, {}, first}, {"1 lost", "2 back 10.0.0.1", "3 settled 10.0.0.1"}},
      {"a change", {first, "10.0.0.2"}, {"1 changed 10.0.0.2", "3 settled 10.0.0.2"}},
      {"another before it has settled",
       {first, "10.0.0.2", "10.0.0.3"},
       {"1 changed 10.0.0.2", "2 changed 10.0.0.3", "4 settled 10.0.0.3"}},
      {"a loss before it has settled",
       {first, "10.0.0.2", {}, {}, {}, {}, first},
       {"1 changed 10.0.0.2", "2 lost", "3 lost", "4 lost", "5 lost", "6 back 10.0.0.1",
        "7 settled 10.0.0.1"}},
  };
  for (const auto& row : cases) {
    address_ = row.addresses.front();
    begin_ = scheduler_.now();
    watch_.startIPWatch();
    scheduler_.advance(500ms);
    for (const auto& address : row.addresses | std::views::drop(1)) {
      address_ = address;
      scheduler_.advance(1s);
    }
    EXPECT_THAT(reportedAfter(10s), ::testing::ElementsAreArray(row.reported)) << row.name;
    watch_.stopIPWatch();
  }
}

TEST_F(NetworkWatchTest, TheAddressStaysWhileOthersComeAndTheUserMayChoose) {
  watch_.startIPWatch();
  others_ = {{"eth0", "10.0.0.1"}};
  EXPECT_THAT(reportedAfter(3s), IsEmpty()) << "a cable was plugged in";
  EXPECT_EQ(networkChanges_, 2);
  EXPECT_EQ(watch_.address(), address_);

  watch_.choose("10.0.0.1");
  EXPECT_EQ(watch_.address(), "10.0.0.1") << "at once";
  EXPECT_THAT(reportedAfter(3s), IsEmpty());
  watch_.stopIPWatch();
  watch_.startIPWatch();
  EXPECT_EQ(watch_.address(), "10.0.0.1");
}

TEST_F(NetworkWatchTest, ALookupFromBeforeTheStopIsNotReportedAfterIt) {
  watch_.startIPWatch();
  address_ = "10.0.0.5";
  // Posted by the lookup, so that the stop runs before its result.
  duringLook_ = [this] {
    scheduler_.mainQueue().async([this] {
      watch_.stopIPWatch();
      address_ = "10.0.0.6";
      watch_.startIPWatch();
    });
  };
  EXPECT_THAT(reportedAfter(10s), IsEmpty());
}

}  // namespace
}  // namespace quorin::wifi
