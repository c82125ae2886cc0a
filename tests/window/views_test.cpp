#include "window/views.h"

#include "ui/appearance.h"
#include "ui/qr_code.h"
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
    pages_.open(Page::kWifi);
    show(wifi());
    pages_.showWiFiPage(page);
  }
  static QMenu* openMenu() { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); }
};

TEST_F(ViewsTest, ControlsHaveANameAndARoleAndDecorationsNoName) {
  showPage({.title = "No network",
            .detail = "Another program",
            .info = "3 phones connected",
            .phones = std::vector<WiFiPage::Phone>(10, {"a", "1.2.3.4, connected since 14:02"}),
            .networks = {{"Wi-Fi", "192.168.1.10"}, {"Wired", "10.0.0.5"}},
            .otherPort = 9001,
            .codeText = "192.168.1.10:9000",
            .code = generateQRCodeFromString("x", 300)});
  for (const ScreenState& state : allScreens()) {
    show(state);
    for (QWidget* widget : window_.content().findChildren<QWidget*>()) {
      if (!widget->isVisible()) continue;
      auto* const interface = QAccessible::queryAccessibleInterface(widget);
      const std::string name = widget->objectName().toStdString();
      const bool isText = qobject_cast<QLabel*>(widget);
      if (qobject_cast<QAbstractButton*>(widget)) {
        EXPECT_THAT(interface->role(), testing::AnyOf(QAccessible::Button, QAccessible::CheckBox));
      } else if (qobject_cast<NonInteractiveImageView*>(widget)) {
        EXPECT_EQ(interface->role(), QAccessible::Graphic) << name;
        EXPECT_EQ(interface->text(QAccessible::Name), "") << name;
        EXPECT_TRUE(qobject_cast<NonInteractiveImageView*>(widget)->hasImage()) << name;
      }
      const bool needsName = isText ? !qobject_cast<QLabel*>(widget)->text().isEmpty()
                                    : (widget->focusPolicy() & Qt::TabFocus) != 0;
      EXPECT_FALSE(needsName && interface->text(QAccessible::Name).isEmpty()) << name;
    }
  }
  auto* const card = QAccessible::queryAccessibleInterface(views_.menuOnlineButton_);
  EXPECT_EQ(card->text(QAccessible::Name), texts_.tr("cards.online.title"));
  EXPECT_EQ(card->text(QAccessible::Description), texts_.tr("cards.online.note"));
}

TEST_F(ViewsTest, AClickAnywhereOnACardChoosesItAndTabWalksTheMenu) {
  show(menu());
  EXPECT_EQ(window_.focusWidget(), views_.menuOnlineButton_);
  for (const char* next : {"menuOfflineButton_", "menuPrivacyButton_", "menuOnlineButton_"}) {
    press(Qt::Key_Tab);
    EXPECT_EQ(window_.focusWidget()->objectName(), next);
  }
  const QSignalSpy online(views_.menuOnlineButton_, &QAbstractButton::clicked);
  const QSignalSpy offline(views_.menuOfflineButton_, &QAbstractButton::clicked);
  clickAt(views_.menuOnlineButton_->geometry().center());
  clickAt(views_.menuOnlineTitle_->geometry().center());
  clickAt(views_.menuOnlineImageView_->geometry().center());
  clickAt(views_.menuOfflineImageView_->geometry().center());
  EXPECT_EQ(online.count(), 3);
  EXPECT_EQ(offline.count(), 1);
}

TEST_F(ViewsTest, TheGuardSaysWhatIsWrongInColours) {
  const struct {
    bool settingUp;
    std::string_view failure;
    bool hasServer;
    std::string_view text, note, button;
  } cases[] = {
      {false, "", true, "text.in", "setup.note", "setup"},
      {true, "", true, "text.in", "setup.note", "setup.working"},
      {false, "audio.guard.setup.refused", true, "text.in", "setup.refused", "setup"},
      {false, "", false, "text.no_server", "setup.note", "setup"},
  };
  show(menu());
  const auto guardText = [this](std::string_view key) {
    return texts_.tr(TrKey::find("audio.guard." + std::string(key)).value());
  };
  const auto color = [](const QLabel* label) { return label->palette().windowText().color(); };
  for (const auto& [settingUp, failure, hasServer, text, note, button] : cases) {
    pages_.apply({.guard = true,
                  .textKey = "audio.guard.text.in",
                  .output = {true, "Quorin Audio"},
                  .input = {false, "Built-in"},
                  .hasServer = hasServer,
                  .settingUp = settingUp,
                  .setUpFailureKey = failure});
    EXPECT_EQ(views_.audioGuardTextLabel_->text(), guardText(text));
    EXPECT_EQ(views_.audioGuardSetUpNoteLabel_->text(), guardText(note));
    EXPECT_EQ(views_.audioGuardSetUpButton_->text(), guardText(button));
    EXPECT_EQ(color(views_.audioGuardStatusOutLabel_), colors::kGreen);
    EXPECT_EQ(color(views_.audioGuardStatusInLabel_), colors::kOrange);
  }
}

TEST_F(ViewsTest, ASilenceIsALineOfItsOwn) {
  pages_.open(Page::kCable);
  show(cable(true));
  pages_.showCable({.connected = true});
  pages_.showSound({.silent = true, .elsewhere = {.program = "Firefox", .device = "HDMI"}});
  EXPECT_TRUE(views_.silenceMoveButton_->isVisible());
  EXPECT_EQ(views_.silenceLabel_->text(),
            texts_.tr("status.silent.elsewhere", QString("Firefox"), QString("HDMI")));
  EXPECT_TRUE(views_.connectedLabel_->isVisible()) << "never instead of it";
  showPage({.info = "2 phones connected", .codeText = "x"});
  pages_.showSound({.silent = true, .elsewhere = {.muted = true}});
  EXPECT_EQ(views_.silenceLabel_->text(), texts_.tr("status.silent.muted"));
  EXPECT_TRUE(views_.onlineInfoLabel_->isVisible());
}

TEST_F(ViewsTest, TheAddressIsCopiedAndSaysSo) {
  showPage({.codeText = "192.168.1.10:9000", .code = generateQRCodeFromString("x", 300)});
  auto* const code = views_.onlineQRImageView_;
  auto* const text = views_.onlineAddressView_->findChild<QLineEdit*>();
  auto* const button = views_.onlineAddressView_->findChildren<PushButton*>().first();
  const std::function<void()> ways[] = {
      [&] { clickAt(code->geometry().center()); },
      [&] { QTest::keyClick(code, Qt::Key_Return); },
      [&] { button->click(); },
      [&] { QTest::keySequence(text, QKeySequence::Copy); },
  };
  for (const auto& copies : ways) {
    QGuiApplication::clipboard()->clear();
    copies();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "192.168.1.10:9000");
    EXPECT_EQ(button->text(), "Copied");
  }
  EXPECT_TRUE(QTest::qWaitFor([&] { return button->text() == "Copy"; }));
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
