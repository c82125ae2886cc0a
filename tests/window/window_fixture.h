#pragma once

#include "window/main_window.h"
#include "window/screens.h"

#include <gmock/gmock.h>

#include <QTest>
#include <vector>

namespace quorin::app {

/// The window as the program builds it, shown, in the language of `GetLanguage`.
class WindowFixture : public testing::Test {
 protected:
  explicit WindowFixture(const QString& language = QStringLiteral("en"))
      : table_({language}), texts_(table_, {language}), views_(window_, texts_, images_) {
    QObject::connect(&window_, &MainWindow::resized, &window_, [this] { screens_.layoutUI(); });
    window_.resize(MainWindow::kInitialSize);
    window_.show();
    window_.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window_));
  }

  void show(ScreenState state) {
    screens_.update([&state](ScreenState& current) { current = state; });
  }

  void clickAt(QPoint point) {
    QTest::mouseClick(window_.windowHandle(), Qt::LeftButton, {}, point);
  }

  static ScreenState menu() { return {.splash = false, .page = Page::kMenu}; }
  static ScreenState wifi(int clients = 0) {
    return {.splash = false, .page = Page::kWifi, .clients = clients};
  }

  static std::vector<ScreenState> allScreens() {
    return {{.splash = true},
            {.splash = false, .checking = true},
            {.splash = false, .guard = true},
            {.splash = false, .microphoneDenied = true},
            menu(),
            {.splash = false, .page = Page::kCable},
            {.splash = false, .page = Page::kCable, .channelOpen = true},
            wifi(3),
            {.splash = false, .page = Page::kWifi, .wifi = WiFiPage::Content::kMessage},
            {.splash = false,
             .page = Page::kWifi,
             .wifi = WiFiPage::Content::kProblem,
             .otherPort = true}};
  }

  CompiledTable table_;
  Texts texts_;
  Images images_;
  MainWindow window_;
  Views views_;
  Screens screens_{views_};
};

}  // namespace quorin::app
