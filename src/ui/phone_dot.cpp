#include "ui/phone_dot.h"

#include "ui/appearance.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>

namespace quorin::app {

PhoneDot::PhoneDot(const QString& disconnectText, QWidget* parent)
    : PaintedButton(parent), disconnectText_(disconnectText) {
  connect(this, &QAbstractButton::clicked, this, [this] { openMenu(mapToGlobal(rect().center())); });
}

void PhoneDot::setPhone(const QString& endpoint, const QString& description) {
  endpoint_ = endpoint;
  setToolTip(description);
  setAccessibleName(description);
}

void PhoneDot::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  paintDot(painter, rect(), colors::kGreen);
  if (showsFocus()) FocusVisibility::paintRing(painter, rect(), width() / 2.0);
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
  // The dot may stand for another phone by the time of the answer.
  QAction* const action = menu->addAction(disconnectText_);
  connect(action, &QAction::triggered, this,
          [this, endpoint = endpoint_] { emit disconnectRequested(endpoint); });
  menu->setActiveAction(action);
  menu->popup(place);
}

}  // namespace quorin::app
