#pragma once

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QRectF>
#include <QSizeF>
#include <QString>
#include <memory>

/// Pictures rendered for their size and display, so that they are sharp at every display factor.
/// Main thread only.
namespace quorin::pictures {

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

/// A drawing in SVG, in its own colours or, with a valid `tint`, all in that colour. Read and
/// rendered when first painted; none when there is no such file.
PicturePtr loadDrawing(const QString& path, const QColor& tint = {});

/// A bitmap; none when there is no such file or it does not load.
PicturePtr loadBitmap(const QString& path);

/// While it exists, `painter` uses device pixels, regardless of scale and offset; opacity and
/// clipping are unchanged.
class DevicePixels {
 public:
  explicit DevicePixels(QPainter& painter)
      : painter_(painter), toDevice_(painter.deviceTransform()) {
    painter_.save();
    painter_.setWorldTransform(toDevice_.inverted() * painter_.worldTransform());
  }
  ~DevicePixels() { painter_.restore(); }
  DevicePixels(const DevicePixels&) = delete;
  DevicePixels& operator=(const DevicePixels&) = delete;

  /// `rect`, in the coordinates the painter had before, in pixels.
  QRectF map(const QRectF& rect) const { return toDevice_.mapRect(rect); }

 private:
  QPainter& painter_;
  QTransform toDevice_;
};

/// The largest rectangle with the picture's proportion, centred in `bounds`.
QRectF fitted(const Picture& picture, const QRectF& bounds);

/// The picture as a bitmap of `side` x `side` pixels.
QImage renderSquare(const Picture& picture, int side);

}  // namespace quorin::pictures
