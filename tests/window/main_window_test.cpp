#include "window/main_window.h"

#include <gmock/gmock.h>

#include <QScreen>
#include <QSignalSpy>
#include <QTest>

namespace quorin::app {
namespace {

class MainWindowTest : public testing::Test {
 protected:
  MainWindowTest() {
    window_.placeInitially();
    window_.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&window_));
  }

  MainWindow window_;
};

TEST_F(MainWindowTest, OpensInTheMiddleAndKeepsItsMinimum) {
  const QRect room = window_.screen()->availableGeometry();
  EXPECT_EQ(window_.size(), QSize(1200, 750).boundedTo(room.size()).expandedTo(QSize(720, 680)));
  EXPECT_LE((window_.geometry().center() - room.center()).manhattanLength(), 10)
      << "but for the frame";
  window_.resize(100, 100);
  EXPECT_EQ(window_.size(), QSize(720, 680));
}

TEST_F(MainWindowTest, ClosingHidesItAndTheProgramGoesOn) {
  const QSignalSpy quit(qApp, &QCoreApplication::aboutToQuit);
  const QSignalSpy requested(&window_, &MainWindow::quitRequested);
  EXPECT_FALSE(window_.close());
  EXPECT_TRUE(window_.isHidden());
  EXPECT_EQ(quit.count() + requested.count(), 0);
}

TEST_F(MainWindowTest, ComesBackHiddenOrMinimised) {
  window_.close();
  window_.bringToFront({});
  EXPECT_TRUE(window_.isVisible());
  window_.showMinimized();
  window_.bringToFront("token");
  EXPECT_FALSE(window_.isMinimized());
}

TEST_F(MainWindowTest, CtrlQAsksToQuit) {
  window_.activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&window_));
  const QSignalSpy requested(&window_, &MainWindow::quitRequested);
  QTest::keyClick(&window_, Qt::Key_Q, Qt::ControlModifier);
  EXPECT_EQ(requested.count(), 1);
}

}  // namespace
}  // namespace quorin::app
