#include "quorin-listen/report.h"

#include "measure/sound_format.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <iomanip>
#include <sstream>

namespace quorin::listen {
namespace {

constexpr std::chrono::seconds kRecently{1};
constexpr std::chrono::seconds kInterruption{2};

}  // namespace

std::span<const float> Report::add(const Sound& sound) {
  const auto format = measure::formatOfLength(sound.bytes.size());
  if (!format) return {};
  const auto samples = measure::decode(sound.bytes, *format);
  arrivals_.add(sound.arrived, samples.size());
  level_.add(samples);
  std::erase_if(recentArrivals_,
                [&](auto arrived) { return arrived <= sound.arrived - kRecently; });
  recentArrivals_.push_back(sound.arrived);

  lastSecond_.insert(lastSecond_.end(), samples.begin(), samples.end());
  const auto surplus = static_cast<std::ptrdiff_t>(lastSecond_.size()) -
                       static_cast<std::ptrdiff_t>(measure::kSampleRate);
  if (surplus > 0) lastSecond_.erase(lastSecond_.begin(), lastSecond_.begin() + surplus);
  return newest(samples.size());
}

std::span<const float> Report::newest(std::size_t samples) const {
  return std::span(lastSecond_).last(std::min(samples, lastSecond_.size()));
}

std::optional<std::string> Report::interruption(measure::Nanoseconds now) const {
  if (recentArrivals_.empty() || now - recentArrivals_.back() < kInterruption) return std::nullopt;
  return "Nothing arrives any more. Is the computer still streaming, in the same network?";
}

std::string Report::liveLine(measure::Nanoseconds now) const {
  if (auto sentence = interruption(now)) return *sentence;
  const auto arrived =
      std::ranges::count_if(recentArrivals_, [now](auto each) { return each > now - kRecently; });
  const auto jitter = arrivals_.recentDeviation();
  const auto level = measure::levelOf(newest(measure::kSampleRate / 5));
  std::ostringstream line;
  line << std::fixed << std::setprecision(2) << std::setw(3) << arrived << "/s  gaps "
       << arrivals_.gaps() << "  jitter p50 " << jitter.p50 << " p99 " << jitter.p99
       << " ms  level " << std::setprecision(1) << level.rmsDb << " dB";
  return line.str();
}

std::string Report::asText() const {
  const auto jitter = arrivals_.deviation();
  const auto level = level_.level();
  std::ostringstream text;
  text << std::fixed << std::setprecision(2);
  text << "received   " << arrivals_.datagrams() << " datagrams, " << arrivals_.soundSeconds()
       << " s of sound, " << std::setprecision(4) << arrivals_.delivered() << " of real time\n"
       << std::setprecision(2);
  text << "gaps       " << arrivals_.gaps() << '\n';
  text << "jitter     p50 " << jitter.p50 << ", p99 " << jitter.p99 << ", max " << jitter.max
       << " ms away from one datagram every 20 ms\n";
  text << "buffer     " << arrivals_.bufferNeededMs() << " ms would play it without a break\n"
       << std::setprecision(1);
  text << "level      " << level.rmsDb << " dB, peak " << level.peakDb << " dB\n";
  text << "frequency  " << measure::frequencyOf(lastSecond_) << " Hz in the last second\n";
  return text.str();
}

std::string Report::asJson() const {
  const auto jitter = arrivals_.deviation();
  const auto level = level_.level();
  const QJsonObject object{
      {"datagrams", static_cast<qint64>(arrivals_.datagrams())},
      {"seconds", arrivals_.soundSeconds()},
      {"delivered", arrivals_.delivered()},
      {"gaps", static_cast<qint64>(arrivals_.gaps())},
      {"jitter_ms", QJsonObject{{"p50", jitter.p50}, {"p99", jitter.p99}, {"max", jitter.max}}},
      {"buffer_ms", arrivals_.bufferNeededMs()},
      {"level_db", QJsonObject{{"rms", level.rmsDb}, {"peak", level.peakDb}}},
      {"frequency_hz", measure::frequencyOf(lastSecond_)},
  };
  return QJsonDocument(object).toJson().toStdString();
}

}  // namespace quorin::listen
