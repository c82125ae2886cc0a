#include "measure/arrival_statistics.h"

#include "measure/sound_format.h"

#include <algorithm>
#include <cmath>

namespace quorin::measure {
namespace {

Nanoseconds durationOf(std::size_t frames) {
  return Nanoseconds(static_cast<std::int64_t>(frames) * 1'000'000'000 / kSampleRate);
}

float milliseconds(Nanoseconds duration) {
  return std::chrono::duration<float, std::milli>(duration).count();
}

}  // namespace

double quantile(std::vector<double> values, double fraction) {
  if (values.empty()) return 0;
  const auto last = static_cast<double>(values.size() - 1);
  const auto rank = static_cast<std::ptrdiff_t>(std::lround(fraction * last));
  std::nth_element(values.begin(), values.begin() + rank, values.end());
  return values[static_cast<std::size_t>(rank)];
}

Spread spreadOf(std::span<const float> values) {
  std::vector<double> magnitudes;
  magnitudes.reserve(values.size());
  for (const double value : values) magnitudes.push_back(std::abs(value));
  return {.p50 = quantile(magnitudes, 0.5),
          .p99 = quantile(magnitudes, 0.99),
          .max = quantile(magnitudes, 1)};
}

void ArrivalStatistics::add(Nanoseconds arrived, std::size_t frames) {
  if (datagrams_ == 0) {
    first_ = arrived;
  } else {
    const auto late = arrived - last_ - durationOf(lastFrames_);
    deviations_.push_back(milliseconds(late));
    if (late >= kGap) ++gaps_;
  }
  ++datagrams_;
  frames_ += frames;
  lastFrames_ = frames;
  last_ = arrived;
}

double ArrivalStatistics::soundSeconds() const {
  return static_cast<double>(frames_) / kSampleRate;
}

Spread ArrivalStatistics::recentDeviation() const {
  const std::span<const float> all = deviations_;
  return spreadOf(all.last(std::min(kRecent, all.size())));
}

double ArrivalStatistics::bufferNeededMs() const {
  std::vector<double> late;
  late.reserve(deviations_.size() + 1);
  double sum = 0;
  late.push_back(sum);
  for (const double deviation : deviations_) late.push_back(sum += deviation);
  return quantile(late, 0.99) - quantile(late, 0.01);
}

double ArrivalStatistics::delivered() const {
  const double elapsed = std::chrono::duration<double>(last_ - first_).count();
  if (elapsed <= 0) return 0;
  return static_cast<double>(frames_ - lastFrames_) / kSampleRate / elapsed;
}

}  // namespace quorin::measure
