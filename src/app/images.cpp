#include "app/images.h"

#include <QIconEngine>
#include <QPainter>
#include <QPixmap>
#include <algorithm>
#include <utility>

namespace quorin::app {
namespace {

class PictureIconEngine final : public QIconEngine {
 public:
  explicit PictureIconEngine(PicturePtr picture) : picture_(std::move(picture)) {}

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override {
    picture_->paint(*painter, fitted(*picture_, rect));
  }

  QPixmap pixmap(const QSize& size, QIcon::Mode, QIcon::State) override {
    return QPixmap::fromImage(renderSquare(*picture_, std::min(size.width(), size.height())));
  }

  QIconEngine* clone() const override { return new PictureIconEngine(picture_); }

 private:
  PicturePtr picture_;
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
  auto image = imageForView(name);
  return image ? QIcon(new PictureIconEngine(std::move(image))) : QIcon();
}

}  // namespace quorin::app
