#include "window/screens.h"

#include "support/code_photo.h"
#include "ui/qr_code.h"
#include "window/window_fixture.h"

#include <QSignalSpy>
#include <algorithm>

namespace quorin::app {
namespace {

/// Also run with other display factors.
using ScreensTest = WindowFixture;

TEST_F(ScreensTest, TheCodeReadsBackAtEverySizeAndGrowsWithTheWindow) {
  const char* const address = "192.168.178.124:65535";
  views_.onlineQRImageView_->showCode(generateQRCodeFromString(address, 300), address);
  for (const QSize size : {QSize(720, 680), QSize(721, 681), QSize(1200, 750), QSize(2560, 1440)}) {
    window_.resize(size);
    show(wifi(3));
    EXPECT_THAT(quorin::test::codesOn(window_), ::testing::ElementsAre(address))
        << size.width() << " x " << size.height() << ", factor " << window_.devicePixelRatio();
    EXPECT_EQ(views_.onlineQRImageView_->width(), size.width() == 2560 ? 400 : 300);
  }
}

TEST_F(ScreensTest, TheKeyboardKeepsAPlaceThroughEveryScreen) {
  show(menu());
  clickAt(views_.menuOnlineButton_->geometry().center());
  show(wifi());
  EXPECT_FALSE(views_.backButton_->showsFocus()) << "chosen with the mouse";
  for (const ScreenState& state : allScreens()) {
    show(state);
    const QWidget* const focused = window_.focusWidget();
    EXPECT_EQ(focused != nullptr, !state.splash && !state.checking);
    EXPECT_TRUE(!focused || focused->isVisible()) << focused->objectName().toStdString();
  }
  show(menu());
  views_.menuOfflineButton_->setFocus(Qt::TabFocusReason);
  show(cable(false));
  EXPECT_TRUE(views_.backButton_->showsFocus()) << "chosen with the keyboard";
  const QSignalSpy back(views_.backButton_, &QAbstractButton::clicked);
  for (const ScreenState& state : {wifi(), cable(true), menu()}) {
    show(state);
    press(Qt::Key_Escape);
    press(Qt::Key_Left, Qt::AltModifier);
    if (views_.backButton_->isVisible()) clickAt(views_.backButton_->geometry().center());
  }
  EXPECT_EQ(back.count(), 6);
}

/// Texts as long as German ones get: nothing that is shown together may overlap or leave the
/// window. A card's parts lie on it on purpose, and a link's frame is larger than its text.
TEST_F(ScreensTest, LongTextsNeitherOverlapNorLeaveTheWindow) {
  pages_.showWiFiPage(
      {.title = "No network",
       .detail = "Another program of another user of this computer uses it now.",
       .info = "10 phones connected",
       .networks = {{"Wireless (wlp3s0)", "192.168.178.124"}, {"Wired", "10.0.0.5"}},
       .otherPort = 9001,
       .codeText = "192.168.178.124:65535"});
  const auto lengthen = [](auto* view) {
    const QString text = view->text();
    view->setText(text + ' ' + text.left(text.size() / 2));
  };
  std::ranges::for_each(window_.findChildren<QLabel*>(), lengthen);
  for (PushButton* const button : {views_.backButton_, views_.onlineOtherPortButton_}) {
    lengthen(button);
  }
  for (const QSize size : {QSize(720, 680), QSize(1200, 750)}) {
    window_.resize(size);
    for (const ScreenState& state : allScreens()) {
      show(state);
      QList<const QWidget*> shown;
      for (const QWidget* view : window_.findChildren<QWidget*>()) {
        const bool isText = qobject_cast<const QLabel*>(view) != nullptr ||
                            qobject_cast<const PushButton*>(view) != nullptr;
        const bool hasText = isText && !view->property("text").toString().isEmpty();
        const bool isPicture = qobject_cast<const NonInteractiveImageView*>(view) != nullptr ||
                               view == views_.onlineQRImageView_;
        if (view->isVisible() && (hasText || isPicture) && view != views_.menuPrivacyButton_) {
          shown.append(view);
        }
      }
      const auto place = [this](const QWidget* w) {
        return QRect(w->mapTo(&window_, QPoint()), w->size());
      };
      for (const QWidget* one : shown) {
        EXPECT_TRUE(window_.rect().contains(place(one))) << one->objectName().toStdString();
        for (const QWidget* other : shown) {
          EXPECT_FALSE(one != other && place(one).intersects(place(other)))
              << one->objectName().toStdString() << " and " << other->objectName().toStdString();
        }
      }
    }
  }
}

}  // namespace
}  // namespace quorin::app
