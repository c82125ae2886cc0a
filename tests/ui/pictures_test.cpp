#include "ui/module_picture.h"
#include "ui/picture.h"

#include <gmock/gmock.h>

#include <QImage>
#include <set>
#include <string>

namespace quorin::pictures {
namespace {

Modules chessboard(int size) {
  return {.size = size, .quietZone = 4, .isFull = [](int x, int y) { return (x + y) % 2 == 0; }};
}

QImage paintedAt(const Picture& picture, double factor, QPointF offset = {}) {
  const QSizeF pixels = (picture.size() + QSizeF(offset.x(), offset.y())) * factor;
  QImage image(pixels.toSize(), QImage::Format_ARGB32_Premultiplied);
  image.setDevicePixelRatio(factor);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  painter.translate(offset);
  picture.paint(painter, QRectF(QPointF(), picture.size()));
  return image;
}

TEST(ModulePictureTest, HasNoSmoothedPixelAtAnyFactorAndOffset) {
  const auto picture = makeModulePicture(chessboard(25), 300, Qt::white);
  for (const double factor : {1.0, 1.25, 1.5, 2.0}) {
    for (const double offset : {0.0, 0.5, 7.3}) {
      const QImage image = paintedAt(*picture, factor, {offset, offset});
      std::set<QRgb> seen;
      for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) seen.insert(image.pixel(x, y));
      }
      EXPECT_THAT(seen, testing::ElementsAre(qRgba(0, 0, 0, 0), qRgba(255, 255, 255, 255)))
          << "factor " << factor << ", offset " << offset;
    }
  }
}

TEST(DrawingTest, IsAsSharpAsTheDisplay) {
  const auto logo = loadDrawing(QStringLiteral(":/quorin/pictures/Logo.svg"));
  ASSERT_TRUE(logo);
  QImage twice(144, 144, QImage::Format_ARGB32_Premultiplied);
  twice.setDevicePixelRatio(2);
  twice.fill(Qt::transparent);
  {
    QPainter painter(&twice);
    logo->paint(painter, QRectF(0, 0, 72, 72));
  }
  twice.setDevicePixelRatio(1);
  EXPECT_EQ(twice, renderSquare(*logo, 144)) << "rendered at the display's size, not scaled up";
}

TEST(DrawingTest, TintKeepsTheShapeAndChangesTheColour) {
  const QString path = QStringLiteral(":/quorin/symbols/stop.fill.svg");
  const QImage plain = renderSquare(*loadDrawing(path), 24);
  const QImage tinted = renderSquare(*loadDrawing(path, Qt::red), 24);
  EXPECT_EQ(plain.pixel(12, 12), qRgb(255, 255, 255));
  EXPECT_EQ(tinted.pixel(12, 12), qRgb(255, 0, 0));
  EXPECT_EQ(plain.convertToFormat(QImage::Format_Alpha8),
            tinted.convertToFormat(QImage::Format_Alpha8));
}

TEST(PictureTest, IsNoneWhereThereIsNoFile) {
  EXPECT_FALSE(loadDrawing(QStringLiteral(":/quorin/pictures/none.svg")));
  EXPECT_FALSE(loadBitmap(QStringLiteral("/nonexistent.png")));
}

}  // namespace
}  // namespace quorin::pictures
