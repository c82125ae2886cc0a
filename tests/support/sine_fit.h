#pragma once

#include <span>

namespace quorin::test {

/// The sine of a known frequency that fits `samples` best (which should hold whole periods), and
/// how far the samples are from it at worst: a sample lost, doubled or zeroed shows there.
struct SineFit {
  double level = 0;  ///< peak
  double worstDeviation = 0;
};

SineFit fitSine(std::span<const float> samples, double frequency, unsigned sampleRate);

}  // namespace quorin::test
