#include "support/fake_phone.h"
#include "whole/with_pulse.h"

#include <gmock/gmock.h>

#include <QAbstractButton>
#include <QApplication>
#include <algorithm>

/// The cable beside Wi-Fi, with a phone on the loopback address.
namespace quorin::whole {
namespace {

using namespace std::chrono_literals;

constexpr std::uint16_t kPhonePort = 2345;
constexpr std::uint32_t kAudio = 104;

class CableBesideWifi : public WithPulse {
 protected:
  void startOnTheCablePage() {
    program_ = std::make_unique<WholeProgram>(app::StartMode::kCable);
    program_->onTurn = [this] {
      if (auto connection = listener_.accept()) phone_ = std::move(connection);
      if (phone_) phone_->turn();
    };
    ASSERT_TRUE(program_->becomes("connectedContainer_"));
  }

  std::ptrdiff_t heard() const {
    return phone_ ? std::ranges::count(phone_->frames, kAudio, &test::SentFrame::type) : 0;
  }
  bool phoneHears() {
    const auto before = heard();
    return program_->until([&] { return heard() > before + 25; });
  }
  /// A channel over the loopback address may stay open when its mode ends, but nothing is on it.
  bool phoneHearsNothing() {
    program_->runFor(300ms);  // what was on its way
    const auto before = heard();
    program_->runFor(1500ms);
    return heard() == before;
  }
  /// Goes back although a phone is connected.
  void goBack() {
    program_->click("backButton_");
    ASSERT_NE(question(), nullptr) << "somebody listens";
    question()->findChild<QAbstractButton*>("button1")->click();
    ASSERT_TRUE(program_->becomes("menuContainer_"));
  }
  /// The question that stands in front of the window.
  static QWidget* question() {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
      if (widget->isVisible() && widget->isModal()) return widget;
    }
    return nullptr;
  }

  test::PhoneListener listener_{kPhonePort};
  std::optional<test::FakePhone> phone_;
  std::unique_ptr<WholeProgram> program_;
};

TEST_F(CableBesideWifi, EachGetsTheSoundInItsOwnModeAlone) {
  startOnTheCablePage();
  ASSERT_TRUE(phoneHears());

  goBack();
  EXPECT_TRUE(phoneHearsNothing());

  program_->click("menuOnlineButton_");
  ASSERT_TRUE(program_->becomes("onlineQRImageView_"));
  auto& wifiPhone = program_->newPhone("10.11.0.2");
  wifiPhone.says("<<HELLO>>");
  ASSERT_TRUE(program_->until([&] { return wifiPhone.chunks > 25; }));
  EXPECT_TRUE(phoneHearsNothing()) << "all sound goes to Wi-Fi";

  goBack();
  program_->click("menuOfflineButton_");
  ASSERT_TRUE(program_->becomes("connectedContainer_"));
  EXPECT_TRUE(phoneHears());
}

TEST_F(CableBesideWifi, AWrongDeviceEndsTheSoundAndTakesTheQuestionBack) {
  startOnTheCablePage();
  program_->click("backButton_");
  ASSERT_NE(question(), nullptr);

  useDevice("speaker");
  ASSERT_TRUE(program_->becomes("audioGuardView_"));
  EXPECT_FALSE(program_->shows("connectedContainer_"));
  EXPECT_TRUE(program_->until([&] { return question() == nullptr; }));
  EXPECT_TRUE(phoneHearsNothing());

  useDevice("quorin");
  EXPECT_TRUE(program_->becomes("menuContainer_"));
}

}  // namespace
}  // namespace quorin::whole
