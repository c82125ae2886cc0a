#include "ui/qr_code.h"

#include <qrencode.h>

#include <QStringEncoder>
#include <algorithm>
#include <cmath>
#include <utility>

namespace quorin::app {
namespace {

using Code = std::unique_ptr<QRcode, decltype(&QRcode_free)>;

class QrPicture final : public Picture {
 public:
  QrPicture(Code code, double points) : code_(std::move(code)), points_(points) {}

  QSizeF size() const override { return {points_, points_}; }

  void paint(QPainter& painter, const QRectF& target) const override {
    constexpr int kQuietZone = 4;  // modules on each side
    painter.save();
    const QRectF place = useDevicePixels(painter, target);
    const int modules = code_->width;
    const double side = std::min(place.width(), place.height());
    const int edge = std::max(1, static_cast<int>(side / (modules + 2 * kQuietZone)));
    const auto start = [&](double centre) {
      return static_cast<int>(std::lround(centre - edge * modules / 2.0));
    };
    const QPoint corner(start(place.center().x()), start(place.center().y()));
    painter.setRenderHint(QPainter::Antialiasing, false);
    for (int i = 0; i < modules * modules; ++i) {
      if ((code_->data[i] & 1U) == 0) continue;  // the other bits say what it is part of
      const QPoint module(i % modules, i / modules);
      painter.fillRect(QRect(corner + module * edge, QSize(edge, edge)), Qt::white);
    }
    painter.restore();
  }

 private:
  Code code_;
  double points_;
};

}  // namespace

PicturePtr generateQRCodeFromString(const QString& text, double size, Correction correction) {
  QStringEncoder latin1(QStringEncoder::Latin1);
  const QByteArray bytes = latin1.encode(text);
  if (latin1.hasError()) return nullptr;

  constexpr int kSmallestThatFits = 0;
  Code code(QRcode_encodeData(static_cast<int>(bytes.size()),
                              reinterpret_cast<const unsigned char*>(bytes.constData()),
                              kSmallestThatFits,
                              correction == Correction::kL ? QR_ECLEVEL_L : QR_ECLEVEL_M),
            &QRcode_free);
  return code ? std::make_shared<QrPicture>(std::move(code), size) : nullptr;
}

CodeView::CodeView(QWidget* parent) : PaintedButton(parent) {
  setCursor(Qt::PointingHandCursor);
}

void CodeView::showCode(PicturePtr picture, const QString& content) {
  picture_ = std::move(picture);
  content_ = content;
  setToolTip(content);
  update();
}

void CodeView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  if (picture_) picture_->paint(painter, fitted(*picture_, rect()));
  paintFocus(painter, rect(), 12);
}

}  // namespace quorin::app
