#include "window/views.h"

#include "ui/qr_picture.h"
#include "window/pages.h"
#include "window/window_fixture.h"

#include <QAccessible>
#include <QClipboard>
#include <QLineEdit>
#include <QMenu>
#include <QSignalSpy>
#include <functional>

namespace quorin::app {

namespace {

class ViewsTest : public WindowFixture {
 protected:
  void showPage(const WiFiPage& page) {
    pages_.openWiFiPage();
    show(wifi());
    pages_.showWiFiPage(page);
  }
  static QMenu* openMenu() { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); }

  Pages pages_{{texts_, images_, views_, screens_}};
};

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
  if (qobject_cast<const QCheckBox*>(&widget)) return QAccessible::CheckBox;
  if (qobject_cast<const QProgressBar*>(&widget)) return QAccessible::ProgressBar;
  if (qobject_cast<const QAbstractButton*>(&widget)) return QAccessible::Button;
  if (qobject_cast<const QLineEdit*>(&widget)) return QAccessible::EditableText;
  if (qobject_cast<const QLabel*>(&widget)) return QAccessible::StaticText;
  if (qobject_cast<const ContainerView*>(&widget)) return QAccessible::Grouping;
  return QAccessible::Graphic;
}

TEST_F(ViewsTest, EveryShownViewHasANameAndARole) {
  showPage({.info = "3 devices connected",
            .phones = {{"a", "1.2.3.4, connected since 14:02"}, {"b", "b"}, {"c", "c"}},
            .networks = {{"Wi-Fi", "192.168.1.10"}, {"Wired", "10.0.0.5"}},
            .otherPort = 9001,
            .codeText = "192.168.1.10:9000",
            .code = generateQRCodeFromString("x", 300)});
  views_.onlineDetailLabel_->setText("Another program");
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
                            "status.full"}) {
      const QString text = table.text(key, 10);
      EXPECT_LT(metrics.horizontalAdvance(text), 0.85 * room) << text.toStdString();
    }
  }
}

TEST_F(ViewsTest, TheAddressIsCopiedAndSaysSo) {
  showPage({.codeText = "192.168.1.10:9000", .code = generateQRCodeFromString("x", 300)});
  auto* const code = views_.onlineQRImageView_;
  auto* const text = views_.onlineAddressView_->findChild<QLineEdit*>();
  auto* const button = views_.onlineAddressView_->findChildren<PushButton*>().first();
  EXPECT_EQ(code->accessibleName(), "Copy address 192.168.1.10:9000");
  const std::function<void()> ways[] = {
      [&] { clickAt(code->geometry().center()); },
      [&] { QTest::keyClick(code, Qt::Key_Return); },
      [&] { button->click(); },
      [&] { QTest::keySequence(text, QKeySequence::Copy); },
  };
  for (const auto& copies : ways) {
    QGuiApplication::clipboard()->clear();
    EXPECT_EQ(button->text(), "Copy");
    copies();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "192.168.1.10:9000");
    EXPECT_EQ(button->text(), "Copied");
    EXPECT_TRUE(QTest::qWaitFor([&] { return button->text() == "Copy"; }));
  }
  text->setSelection(0, 12);
  QTest::keySequence(text, QKeySequence::Copy);
  EXPECT_EQ(QGuiApplication::clipboard()->text(), "192.168.1.10");
}

TEST_F(ViewsTest, ANetworkIsChosenFromAMenu) {
  showPage({.networks = {{"Wi-Fi (wlan0)", "192.168.1.10"}, {"Wired (eth0)", "10.0.0.5"}},
            .codeText = "192.168.1.10:9000"});
  const QSignalSpy chosen(views_.onlineAddressView_, &AddressView::networkChosen);
  auto* const button = views_.onlineAddressView_->findChildren<PushButton*>().last();
  EXPECT_EQ(button->accessibleName(), "Network: Wi-Fi (wlan0)");
  QTest::keyClick(button, Qt::Key_Space);
  ASSERT_TRUE(openMenu());
  EXPECT_TRUE(openMenu()->actions()[0]->isChecked());
  QTest::keyClick(openMenu(), Qt::Key_Down);
  QTest::keyClick(openMenu(), Qt::Key_Return);
  EXPECT_EQ(chosen.value(0).value(0), "10.0.0.5");
}

TEST_F(ViewsTest, ADotNamesItsPhoneAndDisconnectsIt) {
  showPage({.phones = {{"10.0.0.7:5", "10.0.0.7, connected since 14:02"}}, .codeText = "x"});
  PhoneDot* const dot = views_.onlineStatusDots_[0];
  EXPECT_EQ(dot->toolTip(), "10.0.0.7, connected since 14:02");
  const QSignalSpy disconnected(dot, &PhoneDot::disconnectRequested);
  QTest::keyClick(dot, Qt::Key_Delete);
  EXPECT_EQ(disconnected.count(), 1);
  clickAt(dot->geometry().center());
  ASSERT_TRUE(openMenu());
  showPage({.phones = {{"10.0.0.8:5", "another"}}, .codeText = "x"});
  QTest::keyClick(openMenu(), Qt::Key_Return);
  ASSERT_EQ(disconnected.count(), 2);
  EXPECT_EQ(disconnected[1][0], "10.0.0.7:5") << "the one that the menu was opened for";
}

}  // namespace
}  // namespace quorin::app
