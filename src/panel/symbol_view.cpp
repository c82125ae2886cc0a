#include "panel/symbol_view.h"

#include <QPainter>

namespace quorin::panel {

pictures::PicturePtr symbol(const QString& name, const QColor& color) {
  return pictures::loadDrawing(QStringLiteral(":/quorin/symbols/%1.svg").arg(name), color);
}

SymbolView::SymbolView(const QString& name, int side, const QColor& color)
    : picture_(symbol(name, color)) {
  setFixedSize(side, side);
}

void SymbolView::paintEvent(QPaintEvent* /*event*/) {
  if (!picture_) return;
  QPainter painter(this);
  picture_->paint(painter, pictures::fitted(*picture_, rect()));
}

DotView::DotView(int side, const QColor& color) : color_(color) {
  setFixedSize(side, side);
}

void DotView::setColor(const QColor& color) {
  if (color == color_) return;
  color_ = color;
  update();
}

void DotView::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(color_);
  painter.drawEllipse(rect());
}

}  // namespace quorin::panel
