#include "support/sine_fit.h"
#include "whole/whole_test.h"

#include <gmock/gmock.h>

#include <cmath>
#include <span>

/// The Wi-Fi page while the computer's network comes, goes and changes.
namespace quorin::whole {
namespace {

using namespace std::chrono_literals;

class ChangingNetwork : public WholeTest {
 protected:
  bool codeBecomes(const std::string& content, std::chrono::milliseconds limit) {
    return program_->until(
        [&] {
          return program_->shows("onlineQRImageView_") &&
                 program_->accessibleName("onlineQRImageView_").contains(content) &&
                 program_->codes() == std::vector<std::string>{content};
        },
        limit);
  }

  /// A phone that scans the code now is answered, and receives a whole second with no sample lost
  /// or doubled; a player on a busy machine may stumble.
  void expectAPhoneToHearTheTone(const std::string& address) {
    auto& phone = join(address);
    // The server is bound once more while the network settles and forgets who joined before: a
    // phone that hears nothing asks again.
    program_->runFor(2500ms);
    phone.says("<<HELLO>>");
    auto heard = phone.arrivals.size();
    EXPECT_TRUE(program_->until([&] {
      if (phone.arrivals.size() < heard + 50) return false;
      heard = phone.arrivals.size();
      phone.says("<<PING>>");
      const auto second = std::span<const float>(phone.sound).last(wire::kSampleRate);
      const auto fit = test::fitSine(second, 440, wire::kSampleRate);
      return std::abs(fit.level - 0.5) < 0.01 && fit.worstDeviation < 0.02;
    })) << "from "
        << address;
    EXPECT_EQ(phone.messages.at(0), "<<READY>>");
    phone.says("<<STOP>>");
    program_->runFor(50ms);
  }
};

TEST_P(ChangingNetwork, IsFollowedByCodeServerAndSound) {
  const auto player = server_->play({.level = 0.5, .seconds = 120, .sink = "quorin"});
  start(app::StartMode::kWiFi, "onlineContainer_");
  ASSERT_TRUE(codeBecomes("10.11.0.2:9000", 5s));
  expectAPhoneToHearTheTone("10.11.0.2");

  ip("address flush dev eth0");
  EXPECT_TRUE(program_->until([this] { return !program_->shows("onlineQRImageView_"); }, 3s));
  EXPECT_TRUE(program_->shows("onlineTitleLabel_"));
  EXPECT_THAT(program_->text("onlineTitleLabel_"), ::testing::HasSubstr("network"));

  ip("address add 10.11.0.3/24 dev eth0");
  ASSERT_TRUE(codeBecomes("10.11.0.3:9000", 5s)) << "watch 1 s, regeneration 1 s";
  expectAPhoneToHearTheTone("10.11.0.3");
}

INSTANTIATE_TEST_SUITE_P(On, ChangingNetwork, kPulseAudioAlone, serverName);

}  // namespace
}  // namespace quorin::whole
