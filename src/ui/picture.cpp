#include "ui/picture.h"

#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QPixmap>
#include <QSvgRenderer>
#include <utility>

namespace quorin::app {
namespace {

/// Caches the last rendering: a view is painted far more often than resized. Rereads the file for
/// each size: a renderer kept in memory is many times as large as the drawing.
class FilePicture final : public Picture {
 public:
  FilePicture(QString path, const QColor& tint) : path_(std::move(path)), tint_(tint) {}

  QSizeF size() const override {
    if (size_.isEmpty()) {
      size_ = isDrawing() ? QSvgRenderer(path_).defaultSize() : QImageReader(path_).size();
    }
    return size_;
  }

  void paint(QPainter& painter, const QRectF& target) const override {
    painter.save();
    const QRect place = useDevicePixels(painter, target).toRect();
    if (rendered_.size() != place.size()) render(place.size());
    painter.drawImage(place.topLeft(), rendered_);
    painter.restore();
  }

 private:
  bool isDrawing() const { return path_.endsWith(QStringLiteral(".svg")); }

  void render(QSize pixels) const {
    rendered_ = QImage(pixels, QImage::Format_ARGB32_Premultiplied);
    if (rendered_.isNull()) return;
    rendered_.fill(Qt::transparent);
    QPainter painter(&rendered_);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    if (isDrawing()) {
      QSvgRenderer(path_).render(&painter, QRectF(rendered_.rect()));
    } else {
      painter.drawImage(rendered_.rect(), QImage(path_));
    }
    if (!tint_.isValid()) return;
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(rendered_.rect(), tint_);
  }

  const QString path_;
  const QColor tint_;  ///< invalid: in its own colours
  mutable QSizeF size_;
  mutable QImage rendered_;
};

PicturePtr loadDrawing(const QString& path, const QColor& tint = {}) {
  return QFile::exists(path) ? std::make_shared<FilePicture>(path, tint) : nullptr;
}

}  // namespace

PicturePtr imageNamedSafe(const QString& name) {
  const auto file = QStringLiteral(":/quorin/pictures/%1.%2");
  if (auto drawing = loadDrawing(file.arg(name, "svg"))) return drawing;
  // The whole name where there is no dot.
  const auto bitmap = file.arg(name.left(name.lastIndexOf(u'.')), "png");
  return QImageReader(bitmap).canRead() ? std::make_shared<FilePicture>(bitmap, QColor()) : nullptr;
}

PicturePtr imageForView(const QString& name) {
  auto image = imageNamedSafe(name);
  return image ? image : imageNamedSafe(name + ".png");
}

PicturePtr symbol(const QString& name, const QColor& color) {
  return loadDrawing(QStringLiteral(":/quorin/symbols/%1.svg").arg(name), color);
}

QIcon icon(const QString& name) {
  QIcon icon;
  const auto image = imageForView(name);
  if (!image) return icon;
  for (const int side : {32, 64, 128}) {
    QPixmap pixels(side, side);
    pixels.fill(Qt::transparent);
    QPainter painter(&pixels);
    image->paint(painter, fitted(*image, pixels.rect()));
    icon.addPixmap(pixels);
  }
  return icon;
}

QRectF useDevicePixels(QPainter& painter, const QRectF& rect) {
  const auto toDevice = painter.deviceTransform();
  painter.setWorldTransform(toDevice.inverted() * painter.worldTransform());
  return toDevice.mapRect(rect);
}

QRectF fitted(const Picture& picture, const QRectF& bounds) {
  QRectF place(QPointF(), picture.size().scaled(bounds.size(), Qt::KeepAspectRatio));
  place.moveCenter(bounds.center());
  return place;
}

}  // namespace quorin::app
