#include "panel/client_manager.h"

#include "core/simulated_scheduler.h"

#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quorin::panel {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

const std::string kA = "10.0.0.1:4000";
const std::string kB = "10.0.0.2:4000";

using Notice = std::pair<int, std::vector<std::string>>;

class ClientManagerTest : public ::testing::Test {
 protected:
  ClientManagerTest() {
    table_->setOnClientCountChanged([this](int count, const std::vector<std::string>& keys) {
      notices_.emplace_back(count, keys);
    });
  }

  std::vector<Notice> notices() {
    scheduler_.runPending();
    return std::exchange(notices_, {});
  }
  std::vector<Notice> noticesAfter(dispatch::Duration time) {
    scheduler_.advance(time);
    return std::exchange(notices_, {});
  }

  dispatch::SimulatedScheduler scheduler_;
  std::vector<std::string> console_;
  std::vector<Notice> notices_;
  std::optional<ClientManager> table_{
      std::in_place, scheduler_, [this](std::string_view line) { console_.emplace_back(line); }};
};

TEST_F(ClientManagerTest, ReportsOnlyWhatAddsOrRemoves) {
  table_->addClient(kA);
  EXPECT_THAT(notices(), ElementsAre(Pair(1, ElementsAre(kA))));
  table_->addClient(kA);
  EXPECT_THAT(notices(), IsEmpty()) << "a key that is there is only refreshed";
  table_->updateClient(kB);
  EXPECT_THAT(notices(), IsEmpty()) << "an update is silent even when it adds";
  EXPECT_EQ(table_->clientCount(), 2);
  EXPECT_THAT(table_->getClients(), UnorderedElementsAre(kA, kB));
  table_->removeClient("10.0.0.3:1");
  EXPECT_THAT(notices(), ElementsAre(Pair(2, UnorderedElementsAre(kA, kB))))
      << "removing reports even a key that was absent";
  table_->removeClient(kB);
  EXPECT_THAT(notices(), ElementsAre(Pair(1, ElementsAre(kA))));
}

TEST_F(ClientManagerTest, ReportsTheTableOfTheMomentInOrderOnALaterTurn) {
  table_->addClient(kA);
  table_->removeClient(kA);
  EXPECT_THAT(notices_, IsEmpty());
  EXPECT_THAT(notices(), ElementsAre(Pair(1, ElementsAre(kA)), Pair(0, IsEmpty())));
}

TEST_F(ClientManagerTest, RemovesAfterMoreThanTenSecondsOfSilence) {
  struct Case {
    const char* what;
    dispatch::Duration lastHeard;    // after the table was made
    std::vector<int> countsAtTicks;  // at 5, 10, 15, 20, 25 s
  };
  const Case cases[] = {
      {"exactly ten seconds at the tick stays", 5s, {1, 1, 1, 0, 0}},
      {"a little more goes", 4999ms, {1, 1, 0, 0, 0}},
      {"right after a tick lives longest", 5001ms, {1, 1, 1, 0, 0}},
      {"heard at once", 0s, {1, 1, 0, 0, 0}},
  };
  for (const auto& c : cases) {
    table_.emplace(scheduler_, [](std::string_view) {});
    const auto begin = scheduler_.now();
    table_->updateClient(kA);
    std::vector<int> counts;
    scheduler_.advance(c.lastHeard);
    table_->updateClient(kA);
    for (auto tick = 5s; tick <= 25s; tick += 5s) {
      if (begin + tick > scheduler_.now()) scheduler_.advance(begin + tick - scheduler_.now());
      counts.push_back(table_->clientCount());
    }
    EXPECT_EQ(counts, c.countsAtTicks) << c.what;
  }
}

TEST_F(ClientManagerTest, SeveralThatExpireTogetherAreOneReport) {
  table_->addClient(kA);
  table_->addClient(kB);
  scheduler_.advance(6s);
  table_->addClient("10.0.0.3:1");
  notices();
  EXPECT_THAT(noticesAfter(4s), IsEmpty()) << "a tick that removes nobody";
  EXPECT_THAT(noticesAfter(5s), ElementsAre(Pair(1, ElementsAre("10.0.0.3:1"))));
  EXPECT_THAT(console_,
              UnorderedElementsAre("⚠️ Cliente inactivo: " + kA, "⚠️ Cliente inactivo: " + kB));
}

TEST_F(ClientManagerTest, TellsTheLastNewsButSweepsNoMoreOnceItHasGone) {
  table_->addClient(kA);
  table_.reset();
  EXPECT_THAT(noticesAfter(30s), ElementsAre(Pair(1, ElementsAre(kA))));
  EXPECT_THAT(console_, IsEmpty());
}

TEST_F(ClientManagerTest, RecipientsFollowTheTable) {
  const auto recipients = table_->recipients();
  const auto ports = [&] {
    std::vector<int> result;
    for (const auto& address : *recipients->load()) result.push_back(ntohs(address.sin_port));
    return result;
  };
  table_->addClient("10.0.0.1:1");
  const auto before = recipients->load();
  table_->updateClient("10.0.0.1:2");
  table_->addClient("no key at all");
  EXPECT_THAT(ports(), UnorderedElementsAre(1, 2));
  table_->removeClient("10.0.0.1:1");
  EXPECT_THAT(ports(), UnorderedElementsAre(2));
  scheduler_.advance(15s);
  EXPECT_THAT(ports(), IsEmpty());
  EXPECT_EQ(before->size(), 1U) << "a list in use never changes";
}

}  // namespace
}  // namespace quorin::panel
