#pragma once

#include <QWidget>

namespace quorin::app {

/// Holds the views of a page; draws nothing itself.
class ContainerView : public QWidget {
  Q_OBJECT
 public:
  explicit ContainerView(QWidget* parent) : QWidget(parent) {}
};

/// A page that darkens what lies beneath it.
class ShadeView : public ContainerView {
  Q_OBJECT
 public:
  ShadeView(const QColor& color, QWidget* parent);

  void setColor(const QColor& color);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QColor color_;
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
