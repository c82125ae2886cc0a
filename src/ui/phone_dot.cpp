#include "ui/phone_dot.h"

#include "ui/appearance.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <algorithm>

namespace quorin::app {

PhoneDot::PhoneDot(const QString& disconnectText, QWidget* parent)
    : PaintedButton(parent), disconnectText_(disconnectText) {
  connect(this, &QAbstractButton::clicked, this,
          [this] { openMenu(mapToGlobal(rect().center())); });
}

void PhoneDot::setPhone(const QString& endpoint, const QString& description) {
  endpoint_ = endpoint;
  setToolTip(description);
  setAccessibleName(description);
}

void PhoneDot::paintEvent(QPaintEvent*) {
  // At the lower edge of the smallest window the dot is smaller rather than cut.
  const QRect visible = visibleRegion().boundingRect();
  const int side = std::min(visible.width(), visible.height());
  QRect circle(0, 0, side, side);
  circle.moveCenter(visible.center());
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(colors::kGreen);
  painter.drawEllipse(circle);
  paintFocus(painter, circle, side / 2.0);
}

void PhoneDot::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Delete) {
    emit disconnectRequested(endpoint_);
  } else {
    PaintedButton::keyPressEvent(event);
  }
}

void PhoneDot::contextMenuEvent(QContextMenuEvent* event) {
  openMenu(event->reason() == QContextMenuEvent::Keyboard ? mapToGlobal(rect().center())
                                                          : event->globalPos());
}

void PhoneDot::openMenu(QPoint place) {
  auto* const menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  // The dot may represent another phone by the time of the click.
  QAction* const action = menu->addAction(disconnectText_);
  connect(action, &QAction::triggered, this,
          [this, endpoint = endpoint_] { emit disconnectRequested(endpoint); });
  menu->setActiveAction(action);
  menu->popup(place);
}

}  // namespace quorin::app
