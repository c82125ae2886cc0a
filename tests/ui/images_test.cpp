#include "ui/images.h"

#include <gmock/gmock.h>

namespace quorin::app {
namespace {

TEST(ImagesTest, TheProgramCarriesEveryPictureAndSymbol) {
  const Images images;
  for (const char* name : {"Logo", "Logo 1", "internet", "Cable"}) {
    EXPECT_TRUE(images.imageForView(name)) << name;
  }
  for (const char* name : {"mic.slash", "waveform.circle.fill", "server.rack",
                           "chart.line.uptrend.xyaxis", "person.2.fill", "qrcode", "mic.fill",
                           "network", "number", "iphone.radiowaves.left.and.right",
                           "chart.bar.fill", "stop.circle", "play.fill", "stop.fill"}) {
    const auto symbol = images.symbol(name, Qt::green);
    ASSERT_TRUE(symbol) << name;
    const QImage image = pictures::renderSquare(*symbol, 24);
    QImage nothing(image.size(), image.format());
    nothing.fill(Qt::transparent);
    EXPECT_NE(image, nothing) << name;
  }
  const QPixmap icon = images.icon("Logo").pixmap(48);
  EXPECT_EQ(icon.toImage().pixelColor(24, 24).alpha(), 255);
}

}  // namespace
}  // namespace quorin::app
