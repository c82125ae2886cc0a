#pragma once

#include <QIcon>
#include <QPainter>
#include <QString>
#include <memory>

/// The program's pictures, rendered for their size and display, so that they are sharp at every
/// display factor. Main thread only.
namespace quorin::app {

class Picture {
 public:
  virtual ~Picture() = default;
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  /// Natural size in device-independent pixels; only the proportion matters for a drawing.
  virtual QSizeF size() const = 0;

  /// Fills `target`, in the painter's coordinates. The painter's state is left as it was.
  virtual void paint(QPainter& painter, const QRectF& target) const = 0;

 protected:
  Picture() = default;
};

using PicturePtr = std::shared_ptr<const Picture>;

/// The SVG drawing of this name, else the PNG file of the same base name; none when neither exists
/// or the file does not load.
PicturePtr imageNamedSafe(const QString& name);

/// The image by its bare name, or else by the name with ".png".
PicturePtr imageForView(const QString& name);

/// A symbol such as "mic.slash"; all of it in `color`.
PicturePtr symbol(const QString& name, const QColor& color);

/// The null icon when there is no such image.
QIcon icon(const QString& name);

/// The largest rectangle with the picture's proportion, centred in `bounds`.
QRectF fitted(const Picture& picture, const QRectF& bounds);

/// Makes `painter` use device pixels, regardless of scale and offset; returns `rect` in them.
QRectF useDevicePixels(QPainter& painter, const QRectF& rect);

}  // namespace quorin::app
