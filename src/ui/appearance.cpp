#include "ui/appearance.h"

#include <QPalette>
#include <QStyleFactory>
#include <QWidget>
#include <algorithm>
#include <cmath>
#include <utility>

namespace quorin::app {
namespace {

QPalette darkPalette() {
  const QColor window(30, 30, 32);
  const QColor base(22, 22, 24);
  const QColor button(72, 72, 75);
  QPalette palette(button, window);
  palette.setColor(QPalette::Base, base);
  palette.setColor(QPalette::AlternateBase, window);
  palette.setColor(QPalette::ToolTipBase, window);
  palette.setColor(QPalette::Highlight, QColor(61, 110, 240));
  palette.setColor(QPalette::Link, colors::kAccent);
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText,
                          QPalette::ToolTipText, QPalette::HighlightedText}) {
    palette.setColor(role, colors::kWhite);
    palette.setColor(QPalette::Disabled, role, colors::kLightGrey);
  }
  palette.setColor(QPalette::Disabled, QPalette::Light, window);  // no relief behind the text
  palette.setColor(QPalette::PlaceholderText, colors::kLightGrey);
  return palette;
}

/// What desktops offer; any program on the session bus can ask for more.
constexpr double kMaxTextScale = 4;

bool isHighContrast = false;
double scaleOfTexts = 1;

}  // namespace

void setTextScale(double scale) {
  QFont font = QApplication::font();
  const double before = std::exchange(scaleOfTexts, std::min(std::max(1.0, scale), kMaxTextScale));
  font.setPointSizeF(font.pointSizeF() * scaleOfTexts / before);
  QApplication::setFont(font);
}

double textScale() {
  return scaleOfTexts;
}

void setHighContrast(bool on) {
  isHighContrast = on;
  for (QWidget* window : QApplication::topLevelWidgets()) window->update();
}

bool highContrast() {
  return isHighContrast;
}

QColor withAlpha(QColor color, double alpha) {
  color.setAlphaF(static_cast<float>(alpha));
  return color;
}

QFont systemFont(double pixels, QFont::Weight weight) {
  QFont font = QApplication::font();
  font.setPixelSize(static_cast<int>(std::lround(pixels)));
  font.setWeight(weight);
  return font;
}

void applyDarkAppearance(QApplication& application) {
  application.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
  application.setPalette(darkPalette());
}

}  // namespace quorin::app
