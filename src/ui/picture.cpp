#include "ui/picture.h"

#include <QFile>
#include <QSvgRenderer>
#include <utility>

namespace quorin::pictures {
namespace {

/// Caches the last rendering: a view is painted far more often than resized. Rereads the file for
/// each size: a renderer kept in memory is many times as large as the drawing.
class Drawing final : public Picture {
 public:
  Drawing(QString path, const QColor& tint) : path_(std::move(path)), tint_(tint) {}

  QSizeF size() const override {
    if (size_.isEmpty()) size_ = QSvgRenderer(path_).defaultSize();
    return size_;
  }

  void paint(QPainter& painter, const QRectF& target) const override {
    const DevicePixels pixels(painter);
    const QRect place = pixels.map(target).toRect();
    if (place.isEmpty()) return;
    if (rendered_.size() != place.size()) render(place.size());
    painter.drawImage(place.topLeft(), rendered_);
  }

 private:
  void render(QSize pixels) const {
    rendered_ = QImage(pixels, QImage::Format_ARGB32_Premultiplied);
    rendered_.fill(Qt::transparent);
    QPainter painter(&rendered_);
    painter.setRenderHint(QPainter::Antialiasing);
    QSvgRenderer(path_).render(&painter, QRectF(QPointF(), QSizeF(pixels)));
    if (!tint_.isValid()) return;
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(rendered_.rect(), tint_);
  }

  const QString path_;
  const QColor tint_;
  mutable QSizeF size_;
  mutable QImage rendered_;
};

class Bitmap final : public Picture {
 public:
  explicit Bitmap(QImage image) : image_(std::move(image)) {}

  QSizeF size() const override { return image_.deviceIndependentSize(); }

  void paint(QPainter& painter, const QRectF& target) const override {
    painter.save();
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(target, image_);
    painter.restore();
  }

 private:
  QImage image_;
};

}  // namespace

PicturePtr loadDrawing(const QString& path, const QColor& tint) {
  return QFile::exists(path) ? std::make_shared<Drawing>(path, tint) : nullptr;
}

PicturePtr loadBitmap(const QString& path) {
  QImage image(path);
  return image.isNull() ? nullptr : std::make_shared<Bitmap>(std::move(image));
}

QRectF fitted(const Picture& picture, const QRectF& bounds) {
  QRectF place(QPointF(), picture.size().scaled(bounds.size(), Qt::KeepAspectRatio));
  place.moveCenter(bounds.center());
  return place;
}

QImage renderSquare(const Picture& picture, int side) {
  QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  picture.paint(painter, fitted(picture, image.rect()));
  return image;
}

}  // namespace quorin::pictures
