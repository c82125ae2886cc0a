#pragma once

#include "ui/picture.h"

#include <QColor>
#include <QRect>
#include <QRectF>
#include <functional>

namespace quorin::pictures {

/// A square of square modules, each full or empty, such as a QR code.
struct Modules {
  int size = 0;                              ///< modules along one edge
  int quietZone = 0;                         ///< empty modules kept around them
  std::function<bool(int x, int y)> isFull;  ///< from the top left, both 0 to size - 1
};

/// The full modules in `color` on nothing, in a square of `points`. Every module covers the same
/// whole number of the display's pixels, so its edges are sharp at every display factor; what
/// that leaves over is shared between the sides.
PicturePtr makeModulePicture(Modules modules, double points, const QColor& color);

/// Where the modules go, in pixels of the display: the whole square without its quiet zone, in
/// the middle of `target`. Where not even one pixel a module fits, a module gets one.
QRect modulePlace(const Modules& modules, const QRectF& target);

}  // namespace quorin::pictures
