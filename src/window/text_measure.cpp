#include "window/text_measure.h"

#include <QAbstractButton>
#include <QLabel>
#include <cmath>

namespace quorin::app {
namespace {

QString textOf(const QWidget& widget) {
  if (const auto* const label = qobject_cast<const QLabel*>(&widget)) return label->text();
  if (const auto* const button = qobject_cast<const QAbstractButton*>(&widget)) {
    return button->text();
  }
  return {};
}

}  // namespace

double ViewTextMeasure::textHeight(View view, double width) const {
  const QWidget* const widget = views_.find(view);
  if (!widget) return 0;
  const QRect room(0, 0, static_cast<int>(std::floor(width)), 0);
  return widget->fontMetrics().boundingRect(room, Qt::TextWordWrap, textOf(*widget)).height();
}

double ViewTextMeasure::textWidth(View view) const {
  const QWidget* const widget = views_.find(view);
  return widget ? widget->fontMetrics().size(Qt::TextSingleLine, textOf(*widget)).width() : 0;
}

double ViewTextMeasure::lineHeight(View view) const {
  const QWidget* const widget = views_.find(view);
  if (!widget) return 0;
  const QFontMetricsF metrics(widget->font());
  return metrics.ascent() + metrics.descent() + metrics.leading();
}

double ViewTextMeasure::fontPixels(View view) const {
  const QWidget* const widget = views_.find(view);
  return widget ? widget->font().pixelSize() : 0;
}

Size ViewTextMeasure::fittedSize(View view, double pixels) const {
  const QWidget* const widget = views_.find(view);
  if (!widget) return {};
  QFont font = widget->font();
  font.setPixelSize(static_cast<int>(std::lround(pixels)));
  const QSize size = QFontMetrics(font).size(Qt::TextSingleLine, textOf(*widget));
  return {static_cast<double>(size.width()), static_cast<double>(size.height())};
}

}  // namespace quorin::app
