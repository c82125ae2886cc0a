#include "ui/controls.h"
#include "window/alert.h"
#include "window/window_fixture.h"

#include <QScreen>
#include <QSignalSpy>
#include <functional>

namespace quorin::app {
namespace {

class WindowTest : public WindowFixture {
 protected:
  Alert* alert() const { return window_.findChild<Alert*>(); }
  PushButton* button(int index) const {
    return alert()->findChild<PushButton*>(QStringLiteral("button%1").arg(index));
  }
  bool alertIsGone() const {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return alert() == nullptr;
  }
};

TEST_F(WindowTest, FitsTheWorkAreaAndScrollsWhatHasNoRoom) {
  window_.placeInitially();
  const QRect room = window_.screen()->availableGeometry();
  EXPECT_TRUE(room.contains(window_.frameGeometry()));
  window_.resize(100, 100);
  EXPECT_EQ(window_.size(), QSize(720, 680).boundedTo(room.size()));

  window_.setMinimumSize(500, 400);  // as on a smaller screen
  window_.resize(500, 400);
  show(menu());
  EXPECT_EQ(window_.content().size(), QSize(720, 680));
  views_.menuPrivacyButton_->setFocus();
  press(Qt::Key_Backtab);
  press(Qt::Key_Tab);
  EXPECT_FALSE(views_.menuPrivacyButton_->visibleRegion().isEmpty()) << "scrolls to the keyboard";
  screens_.setTextScale(1.5);
  QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
  EXPECT_EQ(window_.content().size(), MainWindow::kMinimumSize * 1.5);
  pages_.confirmStop([] {});
  EXPECT_EQ(alert()->findChild<QLabel*>()->font().pixelSize(), 27) << "dialogs too";
  screens_.setTextScale(1);
}

TEST_F(WindowTest, ClosingHidesItAndItComesBack) {
  const QSignalSpy quit(&window_, &MainWindow::quitRequested);
  const QSignalSpy help(&window_, &MainWindow::helpRequested);
  press(Qt::Key_F1);
  EXPECT_EQ(help.count(), 1);
  press(Qt::Key_W, Qt::ControlModifier);
  EXPECT_TRUE(window_.isHidden());
  EXPECT_EQ(quit.count(), 0);
  window_.bringToFront({});
  EXPECT_TRUE(window_.isVisible());
  window_.showMinimized();
  window_.bringToFront("token");
  EXPECT_FALSE(window_.isMinimized());
  ASSERT_TRUE(QTest::qWaitForWindowActive(&window_));
  press(Qt::Key_Q, Qt::ControlModifier);
  EXPECT_EQ(quit.count(), 1);
}

TEST_F(WindowTest, StoppingIsAskedOnceAndOnlyTheSecondButtonStops) {
  int stops = 0;
  const std::function<void()> ways[] = {
      [this] { button(0)->click(); },
      [this] { QTest::keyClick(alert(), Qt::Key_Escape); },
      [this] { QTest::keyClick(alert()->windowHandle(), Qt::Key_Return); },
      [this] { alert()->close(); },
      [this] { button(1)->click(); },
  };
  for (const auto& answer : ways) {
    EXPECT_EQ(stops, 0);
    pages_.confirmStop([&] { ++stops; });
    ASSERT_TRUE(alert());
    ASSERT_TRUE(QTest::qWaitForWindowActive(alert()));
    answer();
    EXPECT_TRUE(alertIsGone());
  }
  EXPECT_EQ(stops, 1);
  pages_.confirmStop([&] { ++stops; });
  pages_.leavePages();
  EXPECT_TRUE(alertIsGone()) << "there is nothing left to stop";
}

}  // namespace
}  // namespace quorin::app
