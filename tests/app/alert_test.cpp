#include "app/alert.h"

#include "app/controls.h"
#include "app/window_fixture.h"

namespace quorin::app {
namespace {

class AlertTest : public WindowFixture {
 protected:
  Alert* alert() const { return window_.findChild<Alert*>(); }
  PushButton* button(int index) const {
    return alert()->findChild<PushButton*>(QStringLiteral("button%1").arg(index));
  }
  bool isGone() const {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return alert() == nullptr;
  }
  QStringList shownTexts() const {
    QStringList texts;
    for (const QLabel* label : alert()->findChildren<QLabel*>()) texts << label->text();
    return texts;
  }
};

class StopAlertTest : public AlertTest {
 protected:
  StopAlertTest() {
    askToStop(texts_, &window_, [this] { ++stops_; });
  }
  int stops_ = 0;
};

TEST_F(StopAlertTest, AsksOnASheetOfTheWindow) {
  ASSERT_TRUE(alert());
  EXPECT_TRUE(alert()->isVisible());
  EXPECT_EQ(alert()->windowModality(), Qt::WindowModal);
  EXPECT_EQ(alert()->windowType(), Qt::Sheet);
  EXPECT_THAT(shownTexts(),
              testing::ElementsAre(texts_.tr("alert.stop.title"), texts_.tr("alert.stop.info")));
  EXPECT_EQ(button(0)->text(), texts_.tr("common.cancel"));
  EXPECT_EQ(button(1)->text(), texts_.tr("alert.stop.confirm"));
  EXPECT_EQ(stops_, 0);
}

TEST_F(StopAlertTest, TheSecondButtonStopsOnce) {
  button(1)->click();
  EXPECT_EQ(stops_, 1);
  EXPECT_TRUE(isGone());
}

TEST_F(StopAlertTest, TheFirstButtonEscapeReturnAndClosingCancel) {
  button(0)->click();
  EXPECT_TRUE(isGone());
  askToStop(texts_, &window_, [this] { ++stops_; });
  for (const auto key : {Qt::Key_Escape, Qt::Key_Return}) {
    QTest::keyClick(alert(), key);
    EXPECT_TRUE(isGone());
    askToStop(texts_, &window_, [this] { ++stops_; });
  }
  alert()->close();
  EXPECT_TRUE(isGone());
  EXPECT_EQ(stops_, 0);
}

TEST_F(AlertTest, PrivacyStandsInFrontOfTheWholeProgram) {
  showPrivacyTerms(texts_, images_, &window_);
  ASSERT_TRUE(alert());
  EXPECT_EQ(alert()->windowModality(), Qt::ApplicationModal);
  EXPECT_THAT(shownTexts(), testing::ElementsAre(texts_.tr("alert.privacy.title"),
                                                 texts_.tr("alert.privacy.info")));
  EXPECT_TRUE(alert()->findChild<ImageView*>());
  EXPECT_EQ(button(0)->text(), texts_.tr("common.ok"));
  QTest::keyClick(alert(), Qt::Key_Escape);
  EXPECT_TRUE(isGone());
}

TEST_F(AlertTest, PrivacyWithoutPictureHasNoIcon) {
  showPrivacyTerms(texts_, Images("/nonexistent"), &window_);
  EXPECT_FALSE(alert()->findChild<ImageView*>());
}

TEST_F(AlertTest, AWindowThatGoesTakesItsAlertAlong) {
  auto window = std::make_unique<QWidget>();
  bool stopped = false;
  askToStop(texts_, window.get(), [&stopped] { stopped = true; });
  window.reset();
  EXPECT_FALSE(stopped);
}

}  // namespace
}  // namespace quorin::app
