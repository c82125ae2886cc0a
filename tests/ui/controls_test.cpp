#include "ui/controls.h"

#include "ui/appearance.h"

#include <gmock/gmock.h>

#include <QSignalSpy>
#include <QTest>

namespace quorin::app {
namespace {

class ControlsTest : public testing::Test {
 protected:
  ControlsTest() {
    window_.resize(400, 300);
    window_.show();
    window_.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window_));
  }

  QWidget window_;
};

TEST_F(ControlsTest, TheKeyboardPressesAndShowsWhereItIs) {
  PushButton card("", systemFont(18), looks::kCard, &window_);
  card.setGeometry(10, 10, 280, 220);
  LinkButton link("Privacy", systemFont(12), &window_);
  link.setGeometry(10, 240, 220, 34);
  for (PushButton* button : {&card, static_cast<PushButton*>(&link)}) {
    button->show();
    const QImage plain = button->grab().toImage();
    button->setFocus(Qt::MouseFocusReason);
    EXPECT_EQ(button->grab().toImage(), plain) << "a click shows no ring";
    button->clearFocus();
    button->setFocus(Qt::TabFocusReason);
    EXPECT_NE(button->grab().toImage(), plain);
    const QSignalSpy clicks(button, &QAbstractButton::clicked);
    QTest::keyClick(button, Qt::Key_Space);
    QTest::keyClick(button, Qt::Key_Return);
    EXPECT_EQ(clicks.count(), 2);
  }
}

TEST_F(ControlsTest, ATextTooLongForItsFrameShrinksOrEndsInAnEllipsis) {
  const QString longText = "<b>Eine ungewöhnlich lange Überschrift, die nie in eine Zeile passt";
  const auto inkAtTheEdges = [](QWidget& view) {
    const QImage image = view.grab().toImage();
    const QRgb background = image.pixel(0, 0);
    int ink = 0;
    for (int y = 0; y < image.height(); ++y) ink += image.pixel(image.width() - 1, y) != background;
    for (int x = 0; x < image.width(); ++x) ink += image.pixel(x, image.height() - 1) != background;
    return ink;
  };
  for (const LineBreak lineBreak : {LineBreak::kWrap, LineBreak::kTruncateTail}) {
    NonInteractiveLabel label(longText, {.pixels = 24, .color = Qt::black, .lineBreak = lineBreak},
                              &window_);
    label.resize(256, 30);
    EXPECT_LE(inkAtTheEdges(label), 4) << "may touch the edges, but is not cut there";
    EXPECT_EQ(label.textFormat(), Qt::PlainText) << "a device's name is shown as it stands";
  }
}

}  // namespace
}  // namespace quorin::app
