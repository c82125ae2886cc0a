#include "window/screens.h"

#include "support/code_photo.h"
#include "ui/qr_picture.h"
#include "window/window_fixture.h"

namespace quorin::app {
namespace {

/// Also run with other display factors.
using ScreensTest = WindowFixture;

TEST_F(ScreensTest, OneScreenAtATimeWhateverElseIsDue) {
  const auto screens = allScreens();
  for (std::size_t i = 0; i < screens.size(); ++i) {
    ScreenState state = screens[i];
    show(state);
    const Screen screen = screenOf(state);
    const ViewSet expected = visibleViews(state);
    for (std::size_t v = 0; v < kViewCount; ++v) {
      const QWidget* const widget = views_.find(static_cast<View>(v));
      if (!widget) continue;
      EXPECT_EQ(widget->isVisible(), expected.contains(static_cast<View>(v))) << kViewNames[v];
    }
    const bool inAMode = state.page == Page::kWifi || state.page == Page::kCable;
    EXPECT_EQ(views_.backButton_->isVisible(), inAMode);
    // Whatever is behind it changes nothing.
    if (screen < Screen::kNone) state.page = Page::kWifi;
    if (screen < Screen::kChecking) state.checking = true;
    if (screen < Screen::kGuard) state.guard = true;
    EXPECT_EQ(screenOf(state), screen);
    EXPECT_EQ(visibleViews(state), expected);
  }
}

TEST_F(ScreensTest, TheCodeReadsBackAtEverySizeAndGrowsWithTheWindow) {
  show(menu());
  for (const QSize size : {QSize(720, 680), QSize(721, 681), QSize(1200, 750), QSize(2560, 1440)}) {
    for (const char* content : {"10.0.0.2:9000", "192.168.178.124:65535"}) {
      window_.resize(size);
      views_.onlineQRImageView_->showCode(generateQRCodeFromString(content, 300), content);
      show(wifi(3));
      EXPECT_THAT(quorin::test::codesOn(window_), ::testing::ElementsAre(content))
          << size.width() << " x " << size.height() << ", factor " << window_.devicePixelRatio();
      const bool large = size.width() == 2560;
      EXPECT_EQ(views_.onlineQRImageView_->width(), large ? 400 : 300);
      EXPECT_EQ(views_.onlineQRMicroLabel_->font().pixelSize(), large ? 43 : 32);
    }
  }
}

TEST_F(ScreensTest, LargeTextsOfTheDesktopEnlargeTheContent) {
  show(menu());
  window_.resize(MainWindow::kMinimumSize);
  screens_.setTextScale(1.5);
  QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
  EXPECT_EQ(window_.content().size(), MainWindow::kMinimumSize * 1.5);
  EXPECT_EQ(views_.menuOnlineTitle_->font().pixelSize(), 36);
}

TEST_F(ScreensTest, TheKeyboardKeepsAPlaceThroughEveryScreen) {
  show(menu());
  clickAt(views_.menuOnlineButton_->geometry().center());
  show(wifi());
  EXPECT_FALSE(views_.backButton_->showsFocus()) << "chosen with the mouse";
  for (const ScreenState& state : allScreens()) {
    show(state);
    const QWidget* const focused = window_.focusWidget();
    const bool hasButtons =
        screenOf(state) != Screen::kSplash && screenOf(state) != Screen::kChecking;
    EXPECT_EQ(focused != nullptr, hasButtons);
    EXPECT_TRUE(!focused || focused->isVisible()) << focused->objectName().toStdString();
  }
  show(menu());
  views_.menuOfflineButton_->setFocus(Qt::TabFocusReason);
  show(cable(false));
  EXPECT_TRUE(views_.backButton_->showsFocus()) << "chosen with the keyboard";

  int pressed = 0;
  QObject::connect(views_.backButton_, &QAbstractButton::clicked, &window_, [&] { ++pressed; });
  for (const ScreenState& state : {wifi(), cable(true), menu()}) {
    show(state);
    press(Qt::Key_Escape);
    press(Qt::Key_Left, Qt::AltModifier);
    if (views_.backButton_->isVisible()) clickAt(views_.backButton_->geometry().center());
  }
  EXPECT_EQ(pressed, 6);
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
      for (const PushButton* button : window_.findChildren<PushButton*>()) {
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

TEST_F(ScreensTest, TenDotsAtMostAndNoneIsCutAtTheLowerEdge) {
  window_.resize(MainWindow::kMinimumSize);
  show(wifi(12));
  const QImage photo = window_.grab().toImage();
  for (const PhoneDot* dot : views_.onlineStatusDots_) {
    ASSERT_TRUE(dot->isVisible());
    const double besideTheMiddle = (dot->x() + dot->width() / 2.0 + 5) * photo.devicePixelRatio();
    EXPECT_LT(photo.pixelColor(static_cast<int>(besideTheMiddle), photo.height() - 2).green(), 100);
  }
}

}  // namespace
}  // namespace quorin::app
