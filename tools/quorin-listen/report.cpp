#include "quorin-listen/report.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace quorin::listen {
namespace {

constexpr double kMeterFloorDb = -60;
constexpr int kMeterWidth = 24;

int meterCells(double decibels) {
  const double share = std::clamp(1 - decibels / kMeterFloorDb, 0.0, 1.0);
  return static_cast<int>(std::lround(share * kMeterWidth));
}

std::string meter(const measure::Level& level) {
  const int filled = meterCells(level.rmsDb);
  const int peak = meterCells(level.peakDb);
  std::string cells;
  for (int cell = 1; cell <= kMeterWidth; ++cell) {
    cells += cell <= filled ? '#' : cell == peak ? '|' : ' ';
  }
  return "[" + cells + "]";
}

std::optional<double> milliseconds(std::optional<std::chrono::nanoseconds> duration) {
  if (!duration) return std::nullopt;
  return std::chrono::duration<double, std::milli>(*duration).count();
}

}  // namespace

std::string liveLine(const Reception& reception, measure::Nanoseconds now) {
  const auto arrived = reception.inLastSecond(now);
  if (arrived == 0 && reception.arrivals().datagrams() > 0) {
    return "Nothing arrives any more. Is the computer still streaming, in the same network?";
  }
  const auto jitter = reception.arrivals().recentDeviation();
  const auto level = reception.recentLevel();
  std::ostringstream line;
  line << std::fixed << std::setprecision(2) << std::setw(3) << arrived << "/s  gaps "
       << reception.arrivals().gaps() << "  jitter p50 " << jitter.p50 << " p99 " << jitter.p99
       << " ms  " << meter(level) << std::setprecision(1) << std::setw(7) << level.rmsDb << " dB";
  return line.str();
}

Report reportOf(const Reception& reception, std::optional<std::chrono::nanoseconds> roundTrip) {
  const auto& arrivals = reception.arrivals();
  return {.datagrams = arrivals.datagrams(),
          .soundSeconds = arrivals.soundSeconds(),
          .delivered = arrivals.delivered(),
          .gaps = arrivals.gaps(),
          .deviation = arrivals.deviation(),
          .bufferNeededMs = arrivals.bufferNeededMs(),
          .level = reception.level(),
          .frequency = measure::frequencyOf(reception.lastSecond()),
          .roundTrip = roundTrip};
}

std::string asText(const Report& report) {
  std::ostringstream text;
  text << std::fixed;
  text << "received   " << report.datagrams << " datagrams, " << std::setprecision(2)
       << report.soundSeconds << " s of sound, " << std::setprecision(4) << report.delivered
       << " of real time\n";
  text << "gaps       " << report.gaps << '\n';
  text << std::setprecision(2) << "jitter     p50 " << report.deviation.p50 << ", p99 "
       << report.deviation.p99 << ", max " << report.deviation.max
       << " ms away from one datagram every 20 ms\n";
  text << "buffer     " << report.bufferNeededMs << " ms would play it without a break\n";
  text << std::setprecision(1) << "level      " << report.level.rmsDb << " dB, peak "
       << report.level.peakDb << " dB\n";
  text << "frequency  " << report.frequency << " Hz in the last second\n";
  if (const auto roundTrip = milliseconds(report.roundTrip)) {
    text << std::setprecision(2) << "answer     " << *roundTrip << " ms after a ping\n";
  }
  return text.str();
}

std::string asJson(const Report& report) {
  QJsonObject object{
      {"datagrams", static_cast<qint64>(report.datagrams)},
      {"seconds", report.soundSeconds},
      {"delivered", report.delivered},
      {"gaps", static_cast<qint64>(report.gaps)},
      {"jitter_ms", QJsonObject{{"p50", report.deviation.p50},
                                {"p99", report.deviation.p99},
                                {"max", report.deviation.max}}},
      {"buffer_ms", report.bufferNeededMs},
      {"level_db", QJsonObject{{"rms", report.level.rmsDb}, {"peak", report.level.peakDb}}},
      {"frequency_hz", report.frequency},
  };
  if (const auto roundTrip = milliseconds(report.roundTrip)) {
    object["round_trip_ms"] = *roundTrip;
  }
  return QJsonDocument(object).toJson().toStdString();
}

}  // namespace quorin::listen
