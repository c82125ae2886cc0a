#include "window/views.h"

#include "window/window_fixture.h"

#include <QAccessible>
#include <QClipboard>
#include <QSignalSpy>

namespace quorin::app {

namespace {

class ViewsTest : public WindowFixture {};

TEST_F(ViewsTest, APanelIsEmbeddedHidden) {
  MainWindow window;
  auto* const panel = new QWidget;
  const Views views(window, texts_, images_, [panel] { return panel; });
  EXPECT_EQ(views.onlineSwiftUIView_, panel);
  EXPECT_EQ(panel->parentWidget(), views.onlineContainer_);
  EXPECT_TRUE(panel->isHidden());
  EXPECT_EQ(Views(window_, texts_, images_, [] { return nullptr; }).onlineSwiftUIView_, nullptr);
}

TEST_F(ViewsTest, TheSplashFadesToTheWindow) {
  show({.splash = true});
  EXPECT_EQ(qGray(window_.grab().toImage().pixel(5, 5)), 0);
  views_.setSplashOpacity(0);
  EXPECT_NEAR(qGray(window_.grab().toImage().pixel(5, 5)), 0.16 * 255, 2);
  show(menu());
  EXPECT_EQ(views_.splashOverlay_, nullptr);
  EXPECT_EQ(views_.find(View::splashImageView_), nullptr);
}

QAccessible::Role expectedRole(const QWidget& widget) {
  if (qobject_cast<const QPushButton*>(&widget)) return QAccessible::Button;
  if (qobject_cast<const QLabel*>(&widget)) return QAccessible::StaticText;
  if (qobject_cast<const ContainerView*>(&widget)) return QAccessible::Grouping;
  return QAccessible::Graphic;
}

TEST_F(ViewsTest, EveryShownViewHasANameAndARole) {
  views_.onlineQRImageView_->showCode(nullptr, "192.168.1.10:9000");
  views_.audioGuardStatusOutLabel_->setText("Output");
  views_.audioGuardStatusInLabel_->setText("Input");
  views_.onlineTitleLabel_->setText("No network");
  for (const ScreenState& state : allScreens()) {
    show(state);
    for (QWidget* widget : window_.findChildren<QWidget*>()) {
      if (!widget->isVisible()) continue;
      auto* const interface = QAccessible::queryAccessibleInterface(widget);
      const std::string name = widget->objectName().toStdString();
      ASSERT_TRUE(interface) << name;
      EXPECT_EQ(interface->role(), expectedRole(*widget)) << name;
      EXPECT_FALSE(interface->text(QAccessible::Name).isEmpty()) << name;
    }
  }
  auto* const card = QAccessible::queryAccessibleInterface(views_.menuOnlineButton_);
  EXPECT_EQ(card->text(QAccessible::Name), texts_.tr("cards.online.title"));
  EXPECT_EQ(card->text(QAccessible::Description), texts_.tr("cards.online.note"));
}

TEST_F(ViewsTest, AClickAnywhereOnACardChoosesIt) {
  show(menu());
  const QSignalSpy online(views_.menuOnlineButton_, &QPushButton::clicked);
  const QSignalSpy offline(views_.menuOfflineButton_, &QPushButton::clicked);
  for (const QWidget* part : {static_cast<QWidget*>(views_.menuOnlineButton_),
                              static_cast<QWidget*>(views_.menuOnlineTitle_),
                              static_cast<QWidget*>(views_.menuOnlineNote_),
                              static_cast<QWidget*>(views_.menuOnlineImageView_)}) {
    clickAt(part->geometry().center());
  }
  clickAt(views_.menuOfflineImageView_->geometry().center());
  EXPECT_EQ(online.count(), 4);
  EXPECT_EQ(offline.count(), 1);
}

TEST_F(ViewsTest, TabWalksTheMenuInOrder) {
  show(menu());
  std::vector<QWidget*> walked;
  for (int i = 0; i < 4; ++i) {
    QTest::keyClick(window_.windowHandle(), Qt::Key_Tab);
    walked.push_back(window_.focusWidget());
  }
  EXPECT_THAT(walked, testing::ElementsAre(views_.menuOnlineButton_, views_.menuOfflineButton_,
                                           views_.menuPrivacyButton_, views_.menuOnlineButton_));
}

TEST_F(ViewsTest, EveryStatusLineFitsTheSmallestWindow) {
  const QFontMetrics metrics = views_.onlineInfoLabel_->fontMetrics();
  const int room = MainWindow::kMinimumSize.width() - 40 - 16;
  for (const char* language : {"en", "es"}) {
    const CompiledTable table({language});
    for (const char* key : {"waiting_connection", "status.connected.one", "status.connected.many",
                            "status.silent", "udp.port.bind_failed", "udp.socket.create_failed"}) {
      const QString text = table.text(key, 10);
      EXPECT_LT(metrics.horizontalAdvance(text), 0.85 * room) << text.toStdString();
    }
  }
}

TEST_F(ViewsTest, TheCodeCanBeReadAndCopied) {
  show(wifi());
  CodeView& code = *views_.onlineQRImageView_;
  code.showCode(nullptr, "192.168.1.10:9000");
  EXPECT_EQ(code.toolTip(), "192.168.1.10:9000");
  const QSignalSpy copied(&code, &CodeView::copied);
  clickAt(code.geometry().center());
  EXPECT_EQ(copied.count(), 1);
  EXPECT_EQ(QGuiApplication::clipboard()->text(), "192.168.1.10:9000");
  QTest::keyClick(&code, Qt::Key_Return);
  EXPECT_EQ(copied.count(), 2);
  EXPECT_TRUE(code.accessibleName().contains("192.168.1.10:9000"));
}

}  // namespace
}  // namespace quorin::app
