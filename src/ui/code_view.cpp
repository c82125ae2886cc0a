#include "ui/code_view.h"

#include <QPainter>
#include <utility>

namespace quorin::app {

CodeView::CodeView(QWidget* parent) : PaintedButton(parent) {
  setCursor(Qt::PointingHandCursor);
}

void CodeView::showCode(pictures::PicturePtr picture, const QString& content) {
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
