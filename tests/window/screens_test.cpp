#include "window/screens.h"

#include "window/window_fixture.h"

namespace quorin::app {
namespace {

class ScreensTest : public WindowFixture {
 protected:
  ScreensTest() : WindowFixture("es") {}
};

TEST_F(ScreensTest, WhatIsVisibleIsWhatTheStateSays) {
  for (const ScreenState& state : allScreens()) {
    show(state);
    const ViewSet expected = visibleViews(state);
    for (std::size_t i = 0; i < kViewCount; ++i) {
      const QWidget* const widget = views_.find(static_cast<View>(i));
      if (!widget) continue;
      EXPECT_EQ(widget->isVisible(), expected.contains(static_cast<View>(i))) << kViewNames[i];
    }
    int dots = 0;
    for (const PhoneDot* dot : views_.onlineStatusDots_) dots += dot->isVisible();
    EXPECT_EQ(dots, visibleStatusDots(state));
  }
}

TEST_F(ScreensTest, OnlyAPageChosenWithTheKeyboardShowsTheKeyboardsPlace) {
  show(menu());
  clickAt(views_.menuOnlineButton_->geometry().center());
  show(wifi());
  EXPECT_FALSE(views_.backButton_->showsFocus());
  show(menu());
  views_.menuOnlineButton_->setFocus(Qt::TabFocusReason);
  show(wifi());
  EXPECT_TRUE(views_.backButton_->showsFocus());
}

TEST_F(ScreensTest, TheBackButtonWorksOnBothPages) {
  int pressed = 0;
  QObject::connect(views_.backButton_, &QPushButton::clicked, &window_, [&] { ++pressed; });
  for (const Page page : {Page::kWifi, Page::kCable, Page::kWifi}) {
    show({.splash = false, .page = page});
    clickAt(views_.backButton_->geometry().center());
  }
  EXPECT_EQ(pressed, 3);
}

/// Texts as long as German ones get: nothing that is shown together may overlap or leave the
/// window. A card's parts lie on it on purpose, and a link's frame is larger than its text.
TEST_F(ScreensTest, LongTextsNeitherOverlapNorLeaveTheWindow) {
  views_.usbMainLabel_->setText(
      "Verbinden Sie Ihr iPhone über das mitgelieferte Ladekabel und "
      "öffnen Sie anschließend die zugehörige Anwendung darauf");
  views_.usbSecondary2Label_->setText("Es wird auf eine eingehende Verbindung gewartet …");
  views_.audioGuardTextLabel_->setText(
      QString("Wählen Sie in den Klangeinstellungen das virtuelle Audiogerät aus. ").repeated(4));
  views_.audioGuardTitleLabel_->setText("Leiten Sie den Ton dieses Rechners über Quorin Audio um");
  views_.onlineQRMicroLabel_->setText("Erfassen Sie den Code mit der Anwendung auf dem iPhone");
  views_.onlineInfoLabel_->setText("10 Empfangsgeräte sind derzeit verbunden");
  views_.onlineDetailLabel_->setText(
      "Ein anderes Programm eines anderen Benutzers dieses Rechners belegt ihn gerade.\n"
      "Diese Seite versucht es von selbst alle zwei Sekunden von Neuem.");
  views_.onlineOtherPortButton_->setText("Stattdessen Anschluss 9001 verwenden");
  views_.onlineAddressView_->showAddress(
      "192.168.178.124:65535", {{"Kabellos (wlp3s0)", "192.168.178.124"}, {"Kabel", "10.0.0.5"}});
  views_.onlineTitleLabel_->setText("Dieser Rechner ist derzeit mit keinem Netzwerk verbunden");
  views_.connectedLabel_->setText("Empfangsgerät verbunden");
  views_.backButton_->setText("Zurück zum Auswahlmenü der Übertragungsart");
  for (const QSize size : {QSize(720, 680), QSize(1200, 750)}) {
    window_.resize(size);
    for (const ScreenState& state : allScreens()) {
      show(state);
      QList<const QWidget*> shown;
      for (const QLabel* label : window_.findChildren<QLabel*>()) {
        if (label->isVisible() && !label->text().isEmpty()) shown.append(label);
      }
      for (const QPushButton* button : window_.findChildren<QPushButton*>()) {
        if (button->isVisible() && !button->text().isEmpty() && button != views_.menuPrivacyButton_)
          shown.append(button);
      }
      for (const ImageView* image : window_.findChildren<ImageView*>()) {
        if (image->isVisible()) shown.append(image);
      }
      if (views_.onlineQRImageView_->isVisible()) shown.append(views_.onlineQRImageView_);
      const auto place = [this](const QWidget* w) {
        return QRect(w->mapTo(&window_, QPoint()), w->size());
      };
      for (const QWidget* one : shown) {
        EXPECT_TRUE(window_.rect().contains(place(one))) << one->objectName().toStdString();
        for (const QWidget* other : shown) {
          if (one == other) continue;
          EXPECT_FALSE(place(one).intersects(place(other)))
              << one->objectName().toStdString() << " and " << other->objectName().toStdString();
        }
      }
    }
  }
}

}  // namespace
}  // namespace quorin::app
