#include "ui/containers.h"

#include "ui/appearance.h"

#include <QLinearGradient>
#include <QPaintEvent>
#include <QPainter>

namespace quorin::app {

void ContainerView::setColor(const QColor& color) {
  color_ = color;
  setAttribute(Qt::WA_OpaquePaintEvent, color.alpha() == 255);  // avoids painting what lies beneath
  update();
}

void ContainerView::paintEvent(QPaintEvent* event) {
  QPainter(this).fillRect(event->rect(), color_);
}

GradientView::GradientView(QWidget* parent) : QWidget(parent) {
  setAttribute(Qt::WA_OpaquePaintEvent);
  setAttribute(Qt::WA_TransparentForMouseEvents);
}

void GradientView::paintEvent(QPaintEvent* event) {
  if (highContrast()) return QPainter(this).fillRect(event->rect(), Qt::black);
  QLinearGradient gradient(0, height(), 0, 0);
  gradient.setColorAt(0, QColor::fromRgbF(0.02F, 0.02F, 0.02F));
  gradient.setColorAt(0.5, QColor::fromRgbF(0.08F, 0.08F, 0.08F));
  gradient.setColorAt(1, QColor::fromRgbF(0.16F, 0.16F, 0.16F));
  QPainter(this).fillRect(event->rect(), gradient);
}

}  // namespace quorin::app
