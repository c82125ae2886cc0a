#include "app/pt_app_delegate.h"
#include "platform/dispatch/system_scheduler.h"
#include "window/alert.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QLineEdit>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>

namespace quorin::app {
namespace {

/// The program without an audio server and without programs to open: what each control does.
class WiringTest : public testing::Test {
 protected:
  WiringTest() {
    qputenv("PULSE_SERVER", "unix:/nonexistent/quorin");
    qputenv("PATH", "/nonexistent");
    Options options;
    options.port = 4711;
    delegate_ = std::make_unique<PTAppDelegate>(*scheduler_, texts_, options);
    window().show();
    window().activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window()));
  }

  MainWindow& window() { return delegate_->window(); }
  template <typename Widget>
  Widget& view(const char* name) {
    return *window().findChild<Widget*>(QString::fromLatin1(name));
  }
  void click(const char* name) { view<QAbstractButton>(name).click(); }
  QString alertText() {
    const auto* const alert = window().findChild<Alert*>();
    const auto labels = alert ? alert->findChildren<QLabel*>() : QList<QLabel*>();
    const QString text = labels.isEmpty() ? QString() : labels.first()->text();
    delete alert;
    return text;
  }

  const Texts texts_{{"en"}};
  std::unique_ptr<dispatch::Scheduler> scheduler_ = dispatch::makeSystemScheduler();
  std::unique_ptr<PTAppDelegate> delegate_;
};

TEST_F(WiringTest, EveryControlReachesItsOperation) {
  click("menuPrivacyButton_");
  EXPECT_EQ(alertText(), texts_.tr("alert.privacy.title"));
  for (const char* settings : {"audioGuardOpenSettingsButton_", "micDeniedAllowButton_"}) {
    click(settings);
    EXPECT_EQ(alertText(), texts_.tr("alert.settings.title")) << settings;
  }
  click("menuOnlineButton_");
  EXPECT_TRUE(
      QTest::qWaitFor([&] { return view<QLineEdit>("onlinePortField_").text() == "4711"; }));
  window().activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&window()));
  QTest::keyClick(window().windowHandle(), Qt::Key_F1);
  auto* const help = window().findChild<QTextBrowser*>();
  ASSERT_TRUE(help);
  EXPECT_TRUE(help->toPlainText().contains("4711/udp"));
  help->window()->close();

  window().activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&window()));
  QTimer::singleShot(
      0, [&] { QTest::keyClick(window().windowHandle(), Qt::Key_Q, Qt::ControlModifier); });
  QTimer::singleShot(5000, [] { QApplication::exit(1); });
  EXPECT_EQ(QApplication::exec(), 0);
}

}  // namespace
}  // namespace quorin::app
