#include "ui/images.h"

#include <QPixmap>

namespace quorin::app {

PicturePtr imageNamedSafe(const QString& name) {
  const auto file = QStringLiteral(":/quorin/pictures/%1.%2");
  if (auto drawing = pictures::loadDrawing(file.arg(name, "svg"))) return drawing;
  const QString base = name.left(name.lastIndexOf(u'.'));  // the whole name where there is no dot
  return pictures::loadBitmap(file.arg(base, "png"));
}

PicturePtr imageForView(const QString& name) {
  auto image = imageNamedSafe(name);
  return image ? image : imageNamedSafe(name + ".png");
}

PicturePtr symbol(const QString& name, const QColor& color) {
  return pictures::loadDrawing(QStringLiteral(":/quorin/symbols/%1.svg").arg(name), color);
}

QIcon icon(const QString& name) {
  QIcon icon;
  if (const auto image = imageForView(name)) {
    for (const int side : {32, 64, 128}) {
      icon.addPixmap(QPixmap::fromImage(renderSquare(*image, side)));
    }
  }
  return icon;
}

}  // namespace quorin::app
