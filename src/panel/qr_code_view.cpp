#include "panel/qr_code_view.h"

#include "panel/panel_style.h"
#include "ui/module_picture.h"
#include "platform/qr/qr_code.h"

#include <QPainter>
#include <utility>

namespace quorin::panel {
namespace {

constexpr double kCornerRadius = 12;

pictures::PicturePtr pictureOf(const QString& text) {
  auto code = qr::encode(text.toStdString(), qr::Correction::kL);
  if (!code) return nullptr;
  const int size = code->size();
  return pictures::makeModulePicture(
      {.size = size,
       .quietZone = qr::kQuietZoneModules,
       .isFull = [code = *std::move(code)](int x, int y) { return code.isDark(x, y); }},
      QRCodeView::kNaturalSide, Qt::white);
}

}  // namespace

QRCodeView::QRCodeView(const QString& text) {
  setData(text);
}

void QRCodeView::setData(const QString& text) {
  if (text == data_ && code_) return;
  data_ = text;
  code_ = pictureOf(text);
  setAccessibleName(QStringLiteral("Código QR: ") + text);
  setToolTip(text);
  update();
}

void QRCodeView::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  if (code_) {
    code_->paint(painter, pictures::fitted(*code_, rect()));
  } else {
    showFailure(painter);
  }
}

void QRCodeView::showFailure(QPainter& painter) const {
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setOpacity(0.3);
  painter.setPen(Qt::NoPen);
  painter.setBrush(style::kGray);
  painter.drawRoundedRect(rect(), kCornerRadius, kCornerRadius);
  painter.setOpacity(1);
  painter.setPen(Qt::white);
  painter.setFont(style::font({}));
  painter.drawText(rect(), Qt::AlignCenter, QStringLiteral("Error generando QR"));
}

}  // namespace quorin::panel
