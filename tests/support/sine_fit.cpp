#include "support/sine_fit.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quorin::test {

SineFit fitSine(std::span<const float> samples, double frequency, unsigned sampleRate) {
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
