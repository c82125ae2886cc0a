#include "panel/panel_style.h"

#include <QApplication>
#include <QFontDatabase>

namespace quorin::panel::style {

QFont font(const TextLook& look) {
  QFont result =
      look.monospaced ? QFontDatabase::systemFont(QFontDatabase::FixedFont) : QApplication::font();
  result.setPixelSize(look.pixels);
  result.setWeight(look.weight);
  return result;
}

QLabel* makeLabel(const QString& text, const TextLook& look) {
  auto* label = new QLabel(text);
  label->setTextFormat(Qt::PlainText);
  label->setFont(font(look));
  setColor(*label, look.color);
  return label;
}

void setColor(QLabel& label, const QColor& color) {
  auto palette = label.palette();
  palette.setColor(QPalette::WindowText, color);
  label.setPalette(palette);
}

QPalette darkPalette() {
  QPalette palette(kControlBackground, kBackground);
  palette.setColor(QPalette::Base, kBackground);
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(role, kPrimary);
  }
  return palette;
}

}  // namespace quorin::panel::style
