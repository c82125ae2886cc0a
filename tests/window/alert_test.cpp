#include "window/alert.h"

#include "ui/controls.h"
#include "window/window_fixture.h"

#include <functional>

namespace quorin::app {
namespace {

class AlertTest : public WindowFixture {
 protected:
  void ask() {
    askToStop(texts_, &window_, [this] { ++stops_; });
  }
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

  int stops_ = 0;
};

TEST_F(AlertTest, StoppingIsAskedOnASheetOfTheWindowAndTheSecondButtonStopsOnce) {
  ask();
  ASSERT_TRUE(alert());
  EXPECT_TRUE(alert()->isVisible());
  EXPECT_EQ(alert()->windowModality(), Qt::WindowModal);
  EXPECT_THAT(shownTexts(),
              testing::ElementsAre(texts_.tr("alert.stop.title"), texts_.tr("alert.stop.info")));
  EXPECT_EQ(button(0)->text(), texts_.tr("common.cancel"));
  EXPECT_EQ(button(1)->text(), texts_.tr("alert.stop.confirm"));
  EXPECT_EQ(stops_, 0);
  button(1)->click();
  EXPECT_EQ(stops_, 1);
  EXPECT_TRUE(isGone());
}

TEST_F(AlertTest, TheFirstButtonEscapeReturnAndClosingCancel) {
  const std::function<void()> ways[] = {
      [this] { button(0)->click(); },
      [this] { QTest::keyClick(alert(), Qt::Key_Escape); },
      [this] { QTest::keyClick(alert(), Qt::Key_Return); },
      [this] { alert()->close(); },
  };
  for (const auto& cancel : ways) {
    ask();
    cancel();
    EXPECT_TRUE(isGone());
  }
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

}  // namespace
}  // namespace quorin::app
