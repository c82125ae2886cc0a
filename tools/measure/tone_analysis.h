#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace quorin::measure {

struct Level {
  double rmsDb = 0;   ///< dB relative to full scale; a full-scale sine reads -3.01
  double peakDb = 0;  ///< dB relative to full scale
};

/// The level of all samples added so far; -120 dB stands for silence.
class LevelMeter {
 public:
  void add(std::span<const float> samples);
  Level level() const;

 private:
  std::size_t count_ = 0;
  double squares_ = 0;
  double peak_ = 0;
};

Level levelOf(std::span<const float> samples);

/// The frequency in hertz of a tone, from its upward zero crossings; 0 when there are fewer than
/// two. Good to a hundredth of a hertz over a second of a clean tone.
double frequencyOf(std::span<const float> samples);

/// Where a smooth sound (nothing above about 1.5 kHz, no hard attack) was cut: samples lost,
/// doubled, or silence put in. Found as broadband energy that such a sound does not have; traces
/// within 30 ms count as one cut.
std::vector<std::size_t> cutsIn(std::span<const float> samples);

/// The positions of single-sample ticks in silence, at least 100 ms apart.
std::vector<std::size_t> ticksIn(std::span<const float> samples);

}  // namespace quorin::measure
