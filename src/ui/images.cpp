#include "ui/images.h"

#include <QIconEngine>
#include <QPainter>
#include <QPixmap>
#include <algorithm>
#include <utility>

namespace quorin::app {
namespace {

/// The system keeps what it was given of an icon; so the picture is not kept here as well.
class PictureIconEngine final : public QIconEngine {
 public:
  PictureIconEngine(const Images& images, const QString& name) : images_(images), name_(name) {}

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override {
    const auto picture = images_.imageForView(name_);
    picture->paint(*painter, fitted(*picture, rect));
  }

  QPixmap pixmap(const QSize& size, QIcon::Mode, QIcon::State) override {
    return QPixmap::fromImage(
        renderSquare(*images_.imageForView(name_), std::min(size.width(), size.height())));
  }

  QIconEngine* clone() const override { return new PictureIconEngine(images_, name_); }

 private:
  Images images_;
  QString name_;
};

}  // namespace

PicturePtr Images::imageNamedSafe(const QString& name) const {
  if (auto drawing =
          pictures::loadDrawing(QStringLiteral("%1/pictures/%2.svg").arg(folder_, name))) {
    return drawing;
  }
  const QString base = name.left(name.lastIndexOf(u'.'));  // the whole name where there is no dot
  return pictures::loadBitmap(QStringLiteral("%1/pictures/%2.png").arg(folder_, base));
}

PicturePtr Images::imageForView(const QString& name) const {
  auto image = imageNamedSafe(name);
  return image ? image : imageNamedSafe(name + QStringLiteral(".png"));
}

PicturePtr Images::symbol(const QString& name, const QColor& color) const {
  return pictures::loadDrawing(QStringLiteral("%1/symbols/%2.svg").arg(folder_, name), color);
}

QIcon Images::icon(const QString& name) const {
  return imageForView(name) ? QIcon(new PictureIconEngine(*this, name)) : QIcon();
}

}  // namespace quorin::app
