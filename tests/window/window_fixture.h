#pragma once

#include "window/main_window.h"
#include "window/pages.h"
#include "window/screens.h"

#include <gmock/gmock.h>

#include <QTest>

namespace quorin::app {

/// The window as the program builds it, shown.
class WindowFixture : public testing::Test {
 protected:
  WindowFixture() {
    QObject::connect(&window_, &MainWindow::resized, &window_, [this] { screens_.layoutUI(); });
    window_.resize(MainWindow::kInitialSize);
    window_.show();
    window_.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window_));
  }

  void show(const ScreenState& state) {
    screens_.update([&state](ScreenState& current) { current = state; });
  }
  void clickAt(QPoint point) {
    QTest::mouseClick(window_.windowHandle(), Qt::LeftButton, {}, point);
  }
  void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
    QTest::keyClick(window_.windowHandle(), key, modifiers);
  }

  static ScreenState menu() { return {.splash = false, .page = Page::kMenu}; }
  static ScreenState wifi(int clients = 0) {
    return {.splash = false, .page = Page::kWifi, .clients = clients};
  }
  static ScreenState cable(bool connected) {
    return {.splash = false, .page = Page::kCable, .channelOpen = connected};
  }

  /// Every screen, the one that outranks the others first.
  static std::vector<ScreenState> allScreens() {
    ScreenState lost = wifi();
    lost.wifi = WiFiPage::Content::kMessage;
    ScreenState problem = lost;
    problem.wifi = WiFiPage::Content::kProblem;
    problem.otherPort = true;
    ScreenState silent = wifi(10);
    silent.silent = silent.mayBeMoved = silent.lent = true;
    return {{.splash = true},
            {.splash = false, .microphoneDenied = true},
            {.splash = false, .guard = true},
            {.splash = false, .checking = true},
            menu(),
            cable(false),
            cable(true),
            wifi(3),
            silent,
            lost,
            problem};
  }

  Texts texts_{{"en"}};
  MainWindow window_;
  Views views_{window_.content(), texts_};
  Screens screens_{views_};
  Pages pages_{texts_, views_, screens_};
};

}  // namespace quorin::app
