#include "ui/stream_controls.h"

#include "ui/appearance.h"

#include <QPainter>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace quorin::app {
namespace {

using namespace std::chrono_literals;

constexpr auto kLookInterval = 200ms;
constexpr int kDecibels = 60;
constexpr int kFallPerLook = 12;  ///< dB, so that a word does not flicker

}  // namespace

CheckBox::CheckBox(const QString& text, QWidget* parent) : QCheckBox(text, parent) {
  QPalette palette = this->palette();
  palette.setColor(QPalette::Base, QColor(96, 96, 100));  // an empty box is seen on black
  setPalette(palette);
  setFont(systemFont(13));
}

LevelMeter::LevelMeter(const QString& name, QWidget* parent) : QWidget(parent) {
  setAccessibleName(name);
  timer_.setInterval(kLookInterval);
  connect(&timer_, &QTimer::timeout, this, [this] { look(); });
}

int LevelMeter::decibels() const {
  return level_ - kDecibels;
}

void LevelMeter::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  timer_.start();
}

void LevelMeter::hideEvent(QHideEvent* event) {
  timer_.stop();
  QWidget::hideEvent(event);
}

void LevelMeter::look() {
  const float peak = takePeak_ ? takePeak_() : 0;
  const double level = peak > 0 ? kDecibels + 20 * std::log10(static_cast<double>(peak)) : 0;
  const int shown = std::clamp(static_cast<int>(std::lround(level)),
                               std::max(0, level_ - kFallPerLook), kDecibels);
  if (std::exchange(level_, shown) != shown) update();
}

void LevelMeter::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  QRectF bar = rect();
  const double radius = bar.height() / 2;
  painter.setBrush(withAlpha(colors::kWhite, 0.15));
  painter.drawRoundedRect(bar, radius, radius);
  bar.setWidth(bar.width() * level_ / kDecibels);
  painter.setBrush(colors::kGreen);
  painter.drawRoundedRect(bar, radius, radius);
}

}  // namespace quorin::app
