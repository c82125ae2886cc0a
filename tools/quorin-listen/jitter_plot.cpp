#include "quorin-listen/jitter_plot.h"

#include "measure/arrival_statistics.h"

#include <QPainter>
#include <algorithm>
#include <cmath>
#include <vector>

namespace quorin::listen {
namespace {

constexpr QSize kSize(1200, 800);
const QRectF kTimeArea(90, 90, 1070, 330);
const QRectF kHistogramArea(90, 510, 1070, 210);
constexpr double kSecondsPerInterval = 0.020;
constexpr double kSmallestRangeMs = 0.5;  // a calm stream shall look calm
constexpr int kBins = 121;                // odd: one of them stands around 0

constexpr QColor kPaper(252, 252, 253);
constexpr QColor kInk(38, 43, 54);
constexpr QColor kFaint(226, 229, 235);
constexpr QColor kDots(37, 99, 235, 150);
constexpr QColor kBars(37, 99, 235);
constexpr QColor kMark(220, 90, 20);

/// 1, 2 or 5 times a power of ten, about `count` of which fill `range`.
double niceStep(double range, int count) {
  const double raw = range / count;
  const double power = std::pow(10, std::floor(std::log10(raw)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (raw <= factor * power) return factor * power;
  }
  return 10 * power;
}

struct Axis {
  double first = 0;
  double last = 1;

  double share(double value) const { return (value - first) / (last - first); }
};

QString decimal(double value, double step) {
  const int digits = std::max(0, static_cast<int>(std::ceil(-std::log10(step) - 1e-9)));
  return QString::number(std::abs(value) < step / 2 ? 0 : value, 'f', digits);
}

QString powerOfTen(double exponent, double) {
  return QString::number(std::pow(10, exponent), 'f', 0);
}

/// One diagram: its place on the paper and what its two axes mean.
class Diagram {
 public:
  Diagram(QPainter& painter, const QRectF& area, Axis x, Axis y)
      : painter_(painter), area_(area), x_(x), y_(y) {}

  QPointF at(double x, double y) const {
    return {area_.left() + x_.share(x) * area_.width(),
            area_.bottom() - y_.share(y) * area_.height()};
  }

  using Number = QString (*)(double value, double step);

  void drawGrid(const QString& xTitle, const QString& yTitle, double yStep, Number yNumber) const {
    const double xStep = niceStep(x_.last - x_.first, 10);
    for (double x = std::ceil(x_.first / xStep) * xStep; x <= x_.last + xStep / 1000; x += xStep) {
      line(at(x, y_.first), at(x, y_.last), kFaint);
      label(at(x, y_.first) + QPointF(-50, 6), {100, 20}, Qt::AlignHCenter, decimal(x, xStep));
    }
    for (double y = std::ceil(y_.first / yStep) * yStep; y <= y_.last + yStep / 1000; y += yStep) {
      line(at(x_.first, y), at(x_.last, y), kFaint);
      label(at(x_.first, y) + QPointF(-78, -10), {70, 20}, Qt::AlignRight | Qt::AlignVCenter,
            yNumber(y, yStep));
    }
    line(area_.bottomLeft(), area_.bottomRight(), kInk);
    line(area_.topLeft(), area_.bottomLeft(), kInk);
    label(area_.bottomLeft() + QPointF(0, 28), {area_.width(), 22}, Qt::AlignHCenter, xTitle);
    painter_.save();
    painter_.translate(area_.left() - 66, area_.center().y());
    painter_.rotate(-90);
    label({-area_.height() / 2, -11}, {area_.height(), 22}, Qt::AlignCenter, yTitle);
    painter_.restore();
  }

  void drawTitle(const QString& title) const {
    label(area_.topLeft() + QPointF(0, -26), {area_.width(), 22}, Qt::AlignLeft, title);
  }

  void drawLevel(double y, const QString& name) const {
    QPen pen(kMark, 1.2, Qt::DashLine);
    painter_.setPen(pen);
    painter_.drawLine(at(x_.first, y), at(x_.last, y));
    painter_.drawText(QRectF(at(x_.last, y) + QPointF(-300, -20), QSizeF(296, 18)),
                      Qt::AlignRight | Qt::AlignVCenter, name);
  }

 private:
  void line(const QPointF& from, const QPointF& to, const QColor& color) const {
    painter_.setPen(color);
    painter_.drawLine(from, to);
  }
  void label(const QPointF& corner, const QSizeF& size, int alignment, const QString& text) const {
    painter_.setPen(kInk);
    painter_.drawText(QRectF(corner, size), alignment, text);
  }

  QPainter& painter_;
  QRectF area_;
  Axis x_, y_;
};

double rangeOf(std::span<const float> values) {
  double range = kSmallestRangeMs;
  for (const double value : values) range = std::max(range, std::abs(value));
  return range;
}

void drawOverTime(QPainter& painter, std::span<const float> deviations, double range) {
  const double seconds =
      std::max(1.0, static_cast<double>(deviations.size()) * kSecondsPerInterval);
  const Diagram diagram(painter, kTimeArea, {0, seconds}, {-range * 1.08, range * 1.08});
  diagram.drawTitle("Deviation of each interval from 20 ms");
  diagram.drawGrid("seconds", "ms", niceStep(2 * range, 6), decimal);
  painter.setPen(Qt::NoPen);
  painter.setBrush(kDots);
  for (std::size_t i = 0; i < deviations.size(); ++i) {
    painter.drawEllipse(diagram.at(static_cast<double>(i) * kSecondsPerInterval,
                                   static_cast<double>(deviations[i])),
                        2.2, 2.2);
  }
  const auto spread = measure::spreadOf(deviations);
  diagram.drawLevel(spread.p99, QString("99 % within %1 ms").arg(spread.p99, 0, 'f', 2));
  painter.setPen(QPen(kMark, 1.2, Qt::DashLine));
  painter.drawLine(diagram.at(0, -spread.p99), diagram.at(seconds, -spread.p99));
}

void drawHistogram(QPainter& painter, std::span<const float> deviations, double range) {
  const double width = 2 * range / kBins;
  std::vector<double> counts(kBins);
  for (const double deviation : deviations) {
    const auto bin = static_cast<int>(std::floor((deviation + range) / width));
    counts[static_cast<std::size_t>(std::clamp(bin, 0, kBins - 1))] += 1;
  }
  // Logarithmic, for the few late datagrams are what one looks for. A single one stands out from
  // the floor because that lies at a half.
  const double floor = std::log10(0.5);
  const double most = std::log10(std::max(10.0, std::ranges::max(counts)));
  const Diagram diagram(painter, kHistogramArea, {-range, range}, {floor, most + 0.15});
  diagram.drawTitle("How often each deviation occurred");
  diagram.drawGrid("deviation from 20 ms, in ms", "intervals", 1, powerOfTen);
  painter.setPen(Qt::NoPen);
  painter.setBrush(kBars);
  for (int bin = 0; bin < kBins; ++bin) {
    const double left = -range + bin * width;
    const auto count = counts[static_cast<std::size_t>(bin)];
    if (count == 0) continue;
    painter.drawRect(
        QRectF(diagram.at(left, std::log10(count)), diagram.at(left + width * 0.9, floor)));
  }
}

}  // namespace

QImage drawJitter(std::span<const float> deviationsMs, const std::string& title) {
  QImage image(kSize, QImage::Format_RGB32);
  image.fill(kPaper);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  QFont font("sans-serif");
  font.setPixelSize(20);
  font.setBold(true);
  painter.setFont(font);
  painter.setPen(kInk);
  painter.drawText(QRectF(90, 18, 1070, 30), Qt::AlignLeft, QString::fromStdString(title));
  font.setPixelSize(14);
  font.setBold(false);
  painter.setFont(font);

  const double range = rangeOf(deviationsMs);
  drawOverTime(painter, deviationsMs, range);
  drawHistogram(painter, deviationsMs, range);
  return image;
}

}  // namespace quorin::listen
