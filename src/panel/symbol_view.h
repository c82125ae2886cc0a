#pragma once

#include "ui/picture.h"

#include <QColor>
#include <QString>
#include <QWidget>

namespace quorin::panel {

/// The symbol of this name as a drawing in one colour; none when there is no such symbol.
pictures::PicturePtr symbol(const QString& name, const QColor& color);

/// A symbol in a square; decorates a text beside it, hence without an accessible name.
class SymbolView : public QWidget {
 public:
  SymbolView(const QString& name, int side, const QColor& color);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  pictures::PicturePtr picture_;
};

/// A filled circle.
class DotView : public QWidget {
 public:
  DotView(int side, const QColor& color);

  void setColor(const QColor& color);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QColor color_;
};

}  // namespace quorin::panel
