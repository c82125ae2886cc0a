#include "support/sine_fit.h"
#include "whole/with_pulse.h"

#include <gmock/gmock.h>

#include <cmath>
#include <span>

/// The Wi-Fi page while the computer's network comes, goes and changes.
namespace quorin::whole {
namespace {

using namespace std::chrono_literals;

class ChangingNetwork : public WithPulse {
 protected:
  void startOnTheWifiPage() {
    player_ = server_.play({.level = 0.5, .seconds = 120, .sink = "quorin"});
    program_ = std::make_unique<WholeProgram>(app::StartMode::kWiFi);
    ASSERT_TRUE(program_->becomes("onlineContainer_"));
    ASSERT_TRUE(codeBecomes("10.11.0.2:9000", 5s));
    expectAPhoneToHearTheTone("10.11.0.2");
  }

  bool codeBecomes(const std::string& content, std::chrono::milliseconds limit) {
    return program_->until(
        [&] {
          return program_->shows("onlineQRImageView_") &&
                 program_->accessibleName("onlineQRImageView_").contains(content) &&
                 program_->codes() == std::vector<std::string>{content};
        },
        limit);
  }

  /// A phone that scans the code now is answered and hears the tone.
  void expectAPhoneToHearTheTone(const std::string& address) {
    // The server is bound once more while the network settles and forgets who joined before: a
    // phone that hears nothing asks again.
    auto& phone = program_->newPhone(address);
    const auto hearsTwoSeconds = [&] {
      phone.says("<<HELLO>>");
      const auto before = phone.chunks;
      return program_->until([&] { return phone.chunks >= before + 100; }, 3s);
    };
    ASSERT_TRUE(hearsTwoSeconds() || hearsTwoSeconds()) << "from " << address;
    auto heard = phone.chunks;
    ASSERT_GE(phone.messages.size(), 2U);
    EXPECT_EQ(phone.messages[0], "<<READY>>");
    // A whole second without a sample lost or doubled; a player on a busy machine may stumble.
    const auto secondIsWhole = [&] {
      const auto fit = test::fitSine(std::span<const float>(phone.sound).last(44100), 440, 44100);
      return std::abs(fit.level - 0.5) < 0.01 && fit.worstDeviation < 0.02;
    };
    const auto laterSecondIsWhole = [&] {
      if (phone.chunks < heard + 25) return false;
      heard = phone.chunks;
      phone.says("<<PING>>");
      return secondIsWhole();
    };
    EXPECT_TRUE(secondIsWhole() || program_->until(laterSecondIsWhole)) << "from " << address;
    phone.says("<<STOP>>");
    program_->runFor(50ms);
  }

  test::ChildProcess player_;
  std::unique_ptr<WholeProgram> program_;
};

TEST_F(ChangingNetwork, IsFollowedByCodeServerAndSound) {
  startOnTheWifiPage();

  ASSERT_TRUE(ip("address flush dev eth0"));
  EXPECT_TRUE(program_->until([this] { return !program_->shows("onlineQRImageView_"); }, 3s));
  EXPECT_TRUE(program_->shows("onlineTitleLabel_"));
  EXPECT_THAT(program_->text("onlineTitleLabel_"), ::testing::HasSubstr("network"));

  ASSERT_TRUE(ip("address add 10.11.0.3/24 dev eth0"));
  ASSERT_TRUE(codeBecomes("10.11.0.3:9000", 5s)) << "watch 1 s, regeneration 1 s";
  expectAPhoneToHearTheTone("10.11.0.3");

  ASSERT_TRUE(ip("address add 10.22.0.9/24 dev eth0"));
  ASSERT_TRUE(ip("address del 10.11.0.3/24 dev eth0"));
  ASSERT_TRUE(codeBecomes("10.22.0.9:9000", 6s)) << "watch 1 s, regeneration 2 s";
  expectAPhoneToHearTheTone("10.22.0.9");
}

}  // namespace
}  // namespace quorin::whole
