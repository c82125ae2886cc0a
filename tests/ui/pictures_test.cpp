#include "ui/images.h"
#include "ui/picture.h"
#include "ui/qr_picture.h"

#include <gmock/gmock.h>

#include <QImage>
#include <set>

namespace quorin::pictures {
namespace {

QImage paintedAt(const Picture& picture, double factor, double offset) {
  const QSizeF pixels = (picture.size() + QSizeF(offset, offset)) * factor;
  QImage image(pixels.toSize(), QImage::Format_ARGB32_Premultiplied);
  image.setDevicePixelRatio(factor);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  painter.translate(offset, offset);
  picture.paint(painter, QRectF(QPointF(), picture.size()));
  return image;
}

TEST(PicturesTest, ACodeHasNoSmoothedPixelAtAnyFactorAndOffset) {
  const auto picture = app::generateQRCodeFromString("192.168.1.20:9000", 300);
  for (const double factor : {1.0, 1.25, 1.5, 2.0}) {
    for (const double offset : {0.0, 0.5, 7.3}) {
      const QImage image = paintedAt(*picture, factor, offset);
      std::set<QRgb> seen;
      for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) seen.insert(image.pixel(x, y));
      }
      EXPECT_THAT(seen, testing::ElementsAre(qRgba(0, 0, 0, 0), qRgba(255, 255, 255, 255)))
          << "factor " << factor << ", offset " << offset;
    }
  }
}

TEST(PicturesTest, DrawingsAreRenderedForTheDisplayAndTinted) {
  const auto logo = app::imageForView("Logo");
  QImage twice = paintedAt(*logo, 2, 0);
  twice.setDevicePixelRatio(1);
  EXPECT_EQ(twice, renderSquare(*logo, twice.width())) << "not scaled up";
  const QImage red = renderSquare(*app::symbol("stop.fill", Qt::red), 24);
  EXPECT_EQ(red.pixel(12, 12), qRgb(255, 0, 0));
  EXPECT_EQ(qAlpha(red.pixel(0, 0)), 0);
}

}  // namespace
}  // namespace quorin::pictures
