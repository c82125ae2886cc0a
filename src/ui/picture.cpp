#include "ui/picture.h"

#include <QFile>
#include <QSvgRenderer>
#include <future>
#include <utility>

namespace quorin::pictures {
namespace {

/// Keeps what it rendered last: a view is painted far more often than its size changes. The file
/// is read anew for each size: what a renderer holds is many times as large as the drawing.
class Drawing final : public Picture {
 public:
  Drawing(QString path, const QColor& tint) : path_(std::move(path)), tint_(tint) {}

  QSizeF size() const override {
    takeWhatIsAhead();
    if (size_.isEmpty()) size_ = QSvgRenderer(path_).defaultSize();
    return size_;
  }

  void paint(QPainter& painter, const QRectF& target) const override {
    takeWhatIsAhead();
    const DevicePixels pixels(painter);
    const QRect place = pixels.map(target).toRect();
    if (place.isEmpty()) return;
    if (rendered_.size() != place.size()) rendered_ = render(place.size()).image;
    painter.drawImage(place.topLeft(), rendered_);
  }

  void renderAhead(QSize pixels) const override {
    takeWhatIsAhead();
    ahead_ = std::async([this, pixels] { return render(pixels); });
  }

 private:
  struct Rendered {
    QSizeF naturalSize;
    QImage image;
  };

  void takeWhatIsAhead() const {
    if (!ahead_.valid()) return;
    auto ahead = ahead_.get();
    size_ = ahead.naturalSize;
    rendered_ = std::move(ahead.image);
  }

  Rendered render(QSize pixels) const {
    QSvgRenderer renderer(path_);
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter, QRectF(QPointF(), QSizeF(pixels)));
    if (tint_.isValid()) {
      painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
      painter.fillRect(image.rect(), tint_);
    }
    painter.end();
    return {.naturalSize = renderer.defaultSize(), .image = std::move(image)};
  }

  const QString path_;
  const QColor tint_;
  mutable QSizeF size_;
  mutable QImage rendered_;
  mutable std::future<Rendered> ahead_;
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
