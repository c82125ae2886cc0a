#pragma once

#include <QPainter>
#include <QRectF>

namespace quorin::pictures {

/// For its life, `painter` works in the pixels of its display, whatever factor and offset lie
/// between; opacity and clipping stay as they are.
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

}  // namespace quorin::pictures
