#include "measure/tone_analysis.h"

#include "measure/sound_format.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace quorin::measure {
namespace {

constexpr double kSilenceDb = -120;

double decibels(double amplitude) {
  return amplitude > 0 ? std::max(kSilenceDb, 20 * std::log10(amplitude)) : kSilenceDb;
}

double peakOf(std::span<const float> samples) {
  double peak = 0;
  for (const double sample : samples) peak = std::max(peak, std::abs(sample));
  return peak;
}

/// Collects positions, taking those that follow one another within `apart` samples for one.
class Events {
 public:
  explicit Events(std::size_t apart) : apart_(apart) {}

  void add(std::size_t position) {
    if (positions_.empty() || position - last_ > apart_) positions_.push_back(position);
    last_ = position;
  }
  std::vector<std::size_t> take() { return std::move(positions_); }

 private:
  std::size_t apart_;
  std::size_t last_ = 0;
  std::vector<std::size_t> positions_;
};

}  // namespace

void LevelMeter::add(std::span<const float> samples) {
  count_ += samples.size();
  peak_ = std::max(peak_, peakOf(samples));
  for (const double sample : samples) squares_ += sample * sample;
}

Level LevelMeter::level() const {
  const double rms = count_ == 0 ? 0 : std::sqrt(squares_ / static_cast<double>(count_));
  return {.rmsDb = decibels(rms), .peakDb = decibels(peak_)};
}

Level levelOf(std::span<const float> samples) {
  LevelMeter meter;
  meter.add(samples);
  return meter.level();
}

double frequencyOf(std::span<const float> samples) {
  // A crossing counts once the sound has been clearly negative, so that noise near zero does not.
  const double clearly = peakOf(samples) / 10;
  bool armed = false;
  std::optional<double> first;
  double last = 0;
  std::size_t periods = 0;
  for (std::size_t i = 1; i < samples.size(); ++i) {
    const double before = samples[i - 1];
    const double here = samples[i];
    if (before < -clearly) armed = true;
    if (!armed || before >= 0 || here < 0) continue;
    armed = false;
    last = static_cast<double>(i - 1) + before / (before - here);
    if (first) {
      ++periods;
    } else {
      first = last;
    }
  }
  return periods == 0 ? 0 : static_cast<double>(periods) * kSampleRate / (last - *first);
}

std::vector<std::size_t> cutsIn(std::span<const float> samples) {
  // The fourth difference weakens a tone of f hertz by (2 sin(pi f / 44100))^4, 0.002 at 1.5 kHz,
  // and passes a step whole. The constant is what 16-bit rounding leaves.
  const double limit = 0.01 * peakOf(samples) + 0.0005;
  const auto at = [samples](std::size_t i) { return static_cast<double>(samples[i]); };
  Events cuts(kSampleRate * 30 / 1000);
  for (std::size_t i = 4; i < samples.size(); ++i) {
    const double fourth = at(i) - 4 * at(i - 1) + 6 * at(i - 2) - 4 * at(i - 3) + at(i - 4);
    if (std::abs(fourth) > limit) cuts.add(i - 2);
  }
  return cuts.take();
}

std::vector<std::size_t> ticksIn(std::span<const float> samples) {
  // A rate converter leaves between 0.6 and 1 of a tick, and less than 0.25 of it around it.
  const double limit = 0.4 * peakOf(samples);
  if (limit < 0.01) return {};
  Events ticks(kSampleRate / 10);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    if (std::abs(samples[i]) > static_cast<float>(limit)) ticks.add(i);
  }
  return ticks.take();
}

}  // namespace quorin::measure
