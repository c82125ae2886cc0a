#include "ui/code_view.h"

#include <QClipboard>
#include <QFocusEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <utility>

namespace quorin::app {

CodeView::CodeView(QWidget* parent) : ImageView(parent) {
  setFocusPolicy(Qt::TabFocus);
  setCursor(Qt::PointingHandCursor);
}

void CodeView::showCode(pictures::PicturePtr picture, const QString& content) {
  content_ = content;
  setToolTip(content);
  setAccessibleName(content);
  setImage(std::move(picture));
}

void CodeView::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint())) copy();
}

void CodeView::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
      copy();
      break;
    default:
      event->matches(QKeySequence::Copy) ? copy() : ImageView::keyPressEvent(event);
  }
}

void CodeView::focusInEvent(QFocusEvent* event) {
  focus_.onFocusIn(event->reason());
  ImageView::focusInEvent(event);
}

void CodeView::paintEvent(QPaintEvent* event) {
  ImageView::paintEvent(event);
  if (!focus_.isShownOn(*this)) return;
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  FocusVisibility::paintRing(painter, rect(), 12);
}

void CodeView::copy() {
  if (content_.isEmpty()) return;
  QGuiApplication::clipboard()->setText(content_);
  emit copied();
}

}  // namespace quorin::app
