#include "ui/module_picture.h"

#include "ui/device_pixels.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace quorin::pictures {
namespace {

class ModulePicture final : public Picture {
 public:
  ModulePicture(Modules modules, double points, const QColor& color)
      : modules_(std::move(modules)), points_(points), color_(color) {}

  QSizeF size() const override { return {points_, points_}; }

  void paint(QPainter& painter, const QRectF& target) const override {
    const DevicePixels pixels(painter);
    const QRect place = modulePlace(modules_, pixels.map(target));
    const int edge = place.width() / modules_.size;
    painter.setRenderHint(QPainter::Antialiasing, false);
    for (int y = 0; y < modules_.size; ++y) {
      for (int x = 0; x < modules_.size; ++x) {
        if (!modules_.isFull(x, y)) continue;
        painter.fillRect(place.x() + x * edge, place.y() + y * edge, edge, edge, color_);
      }
    }
  }

 private:
  Modules modules_;
  double points_;
  QColor color_;
};

}  // namespace

PicturePtr makeModulePicture(Modules modules, double points, const QColor& color) {
  return std::make_shared<ModulePicture>(std::move(modules), points, color);
}

QRect modulePlace(const Modules& modules, const QRectF& target) {
  const double across = modules.size + 2 * modules.quietZone;
  const int edge =
      std::max(1, static_cast<int>(std::floor(std::min(target.width(), target.height()) / across)));
  const int side = edge * modules.size;
  return {static_cast<int>(std::lround(target.center().x() - side / 2.0)),
          static_cast<int>(std::lround(target.center().y() - side / 2.0)), side, side};
}

}  // namespace quorin::pictures
