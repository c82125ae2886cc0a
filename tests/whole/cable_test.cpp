#include "support/fake_phone.h"
#include "whole/whole_test.h"

#include <gmock/gmock.h>

#include <QAbstractButton>
#include <QApplication>
#include <algorithm>

/// The cable beside Wi-Fi, with a phone on the loopback address.
namespace quorin::whole {
namespace {

using namespace std::chrono_literals;

class CableBesideWifi : public WholeTest {
 protected:
  void startOnTheCablePage() {
    start(app::StartMode::kCable, "usbSecondary2Label_");
    program_->onTurn = [this] {
      if (auto connection = test::acceptFrom(listener_)) phone_.emplace(std::move(connection));
      if (phone_) phone_->turn();
    };
    ASSERT_TRUE(program_->becomes("connectedContainer_"));
  }

  std::ptrdiff_t heard() const {
    return phone_ ? std::ranges::count(phone_->frames, 104U, &test::SentFrame::type) : 0;
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
    ASSERT_NE(question(), nullptr) << "a phone is connected";
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

  posix::FileDescriptor listener_ = test::listenAt(2345);
  std::optional<test::FakePhone> phone_;
};

TEST_P(CableBesideWifi, EachGetsTheSoundInItsOwnModeAlone) {
  startOnTheCablePage();
  ASSERT_TRUE(phoneHears());
  goBack();
  EXPECT_TRUE(phoneHearsNothing());

  program_->click("menuOnlineButton_");
  ASSERT_TRUE(program_->becomes("onlineQRImageView_"));
  join();
  EXPECT_TRUE(phoneHearsNothing()) << "all sound goes to Wi-Fi";

  goBack();
  program_->click("menuOfflineButton_");
  ASSERT_TRUE(program_->becomes("connectedContainer_"));
  EXPECT_TRUE(phoneHears());

  program_->click("backButton_");
  ASSERT_NE(question(), nullptr);
  useDevice("speaker");
  ASSERT_TRUE(program_->becomes("audioGuardView_"));
  EXPECT_FALSE(program_->shows("connectedContainer_"));
  EXPECT_TRUE(program_->until([&] { return question() == nullptr; })) << "taken back";
  EXPECT_TRUE(phoneHearsNothing());
  useDevice("quorin");
  EXPECT_TRUE(program_->becomes("menuContainer_"));
}

INSTANTIATE_TEST_SUITE_P(On, CableBesideWifi, kPulseAudioAlone, serverName);

}  // namespace
}  // namespace quorin::whole
