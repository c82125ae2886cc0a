#pragma once

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>

namespace quorin::test {

/// The sine of a known frequency that fits `samples` best (which should hold whole periods), and
/// how far the samples are from it at worst: a sample lost, doubled or zeroed shows there.
struct SineFit {
  double level = 0;  ///< peak
  double worstDeviation = 0;
};

inline SineFit fitSine(std::span<const float> samples, double frequency, unsigned sampleRate) {
  const double step = 2 * std::numbers::pi * frequency / sampleRate;
  double sine = 0;
  double cosine = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    sine += samples[i] * std::sin(step * static_cast<double>(i));
    cosine += samples[i] * std::cos(step * static_cast<double>(i));
  }
  sine *= 2.0 / static_cast<double>(samples.size());
  cosine *= 2.0 / static_cast<double>(samples.size());

  SineFit fit{.level = std::hypot(sine, cosine)};
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const auto fitted = sine * std::sin(step * static_cast<double>(i)) +
                        cosine * std::cos(step * static_cast<double>(i));
    fit.worstDeviation = std::max(fit.worstDeviation, std::abs(samples[i] - fitted));
  }
  return fit;
}

}  // namespace quorin::test
