#pragma once

#include <QWidget>

namespace quorin::app {

/// Holds the views of a page: transparent, or filled with a colour, which may let through what lies
/// beneath it.
class ContainerView : public QWidget {
  Q_OBJECT
 public:
  explicit ContainerView(QWidget* parent) : QWidget(parent) {}
  ContainerView(const QColor& color, QWidget* parent) : QWidget(parent) { setColor(color); }

  void setColor(const QColor& color);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QColor color_ = Qt::transparent;
};

/// The window's background: three greys, the darkest at the bottom. Paints every pixel, so that
/// nothing flickers through while the window is resized.
class GradientView : public QWidget {
  Q_OBJECT
 public:
  explicit GradientView(QWidget* parent);

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace quorin::app
