#include "quorin-listen/reception.h"

#include "measure/sound_format.h"

#include <algorithm>

namespace quorin::listen {

std::span<const float> Reception::add(const Sound& sound) {
  const auto format = measure::formatOfLength(sound.bytes.size());
  if (!format) return {};
  const auto samples = measure::decode(sound.bytes, *format);
  arrivals_.add(sound.arrived, samples.size());
  wholeLevel_.add(samples);

  recentArrivals_.push_back(sound.arrived);
  while (recentArrivals_.front() <= sound.arrived - std::chrono::seconds(1)) {
    recentArrivals_.pop_front();
  }

  const auto whole = lastSecond_.size() + samples.size();
  const auto surplus = whole - std::min<std::size_t>(whole, measure::kSampleRate);
  lastSecond_.erase(lastSecond_.begin(),
                    lastSecond_.begin() + static_cast<std::ptrdiff_t>(surplus));
  lastSecond_.insert(lastSecond_.end(), samples.begin(), samples.end());
  return lastSecond().last(samples.size());
}

std::size_t Reception::inLastSecond(measure::Nanoseconds now) const {
  const auto since = now - std::chrono::seconds(1);
  return static_cast<std::size_t>(std::ranges::count_if(
      recentArrivals_, [since](measure::Nanoseconds arrived) { return arrived > since; }));
}

measure::Level Reception::recentLevel() const {
  return measure::levelOf(
      lastSecond().last(std::min<std::size_t>(measure::kSampleRate / 5, lastSecond_.size())));
}

}  // namespace quorin::listen
