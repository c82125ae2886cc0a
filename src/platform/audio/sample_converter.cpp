#include "platform/audio/converter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <numeric>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace quorin::audio {
namespace {

// docs/sound.md compares this filter with those of libraries.
constexpr double kHalfLength = 48;  // in frames of the lower rate
constexpr double kCutoff = 0.95;    // of half the lower rate
constexpr double kKaiserBeta = 9;   // stopband at -90 dB

/// Parallel sums, so that the compiler vectorizes the loop.
constexpr std::size_t kLanes = 8;

constexpr float kMinSample = 1e-20F;
constexpr float kMaxSample = 1e20F;

constexpr unsigned kLongestBlocksPerSecond = 25;  // 40 ms

/// One test suffices, since comparisons with NaN are false.
float audibleOrSilence(float sample) {
  const auto size = std::abs(sample);
  return size >= kMinSample && size <= kMaxSample ? sample : 0.0F;
}

void mixToMono(const BufferView& input, std::span<float> mono) {
  const std::size_t channels = input.format.channels;
  const float scale = 1.0F / static_cast<float>(channels);
  for (std::size_t i = 0; i < mono.size(); ++i) {
    const auto frame = input.samples.subspan(i * channels, channels);
    mono[i] = audibleOrSilence(std::accumulate(frame.begin(), frame.end(), 0.0F) * scale);
  }
}

double sinc(double x) {
  return x == 0 ? 1 : std::sin(std::numbers::pi * x) / (std::numbers::pi * x);
}

/// `x` from -1 to 1, where it is nearly zero.
double kaiser(double x) {
  static const double atZero = std::cyl_bessel_i(0.0, kKaiserBeta);
  return std::cyl_bessel_i(0.0, kKaiserBeta * std::sqrt(1 - x * x)) / atZero;
}

/// Polyphase filter: one row of a windowed sinc for each position that an output frame can have
/// between two input frames.
class Resampler {
 public:
  Resampler(unsigned from, unsigned to)
      : up_(to / std::gcd(from, to)), down_(from / std::gcd(from, to)) {
    const auto scale = std::min(1.0, static_cast<double>(to) / from);
    const auto half = static_cast<std::size_t>(std::ceil(kHalfLength / scale / kLanes)) * kLanes;
    taps_ = 2 * half;
    rows_.reserve(up_ * taps_);
    for (std::size_t row = 0; row < up_; ++row) {
      const auto position =
          static_cast<double>(half - 1) + static_cast<double>(row) / static_cast<double>(up_);
      for (std::size_t tap = 0; tap < taps_; ++tap) {
        const auto distance = static_cast<double>(tap) - position;
        rows_.push_back(static_cast<float>(kCutoff * scale * sinc(kCutoff * scale * distance) *
                                           kaiser(distance / static_cast<double>(half))));
      }
    }
    frames_.resize(taps_ - 1 + from / kLongestBlocksPerSecond + 1);
  }

  /// Where the next frames are to be written.
  std::span<float> input(std::size_t count) {
    if (frames_.size() < taps_ - 1 + count) frames_.resize(taps_ - 1 + count);
    return std::span(frames_).subspan(taps_ - 1, count);
  }

  /// Consumes `count` frames of `input` and returns the number of output frames; what does not fit
  /// into `output` is lost.
  std::size_t run(std::size_t count, std::span<float> output) {
    std::size_t made = 0;
    for (; next_ < count; advance()) {
      if (made < output.size()) output[made++] = frameAt(next_, row_);
    }
    next_ -= count;
    std::copy_n(frames_.begin() + static_cast<std::ptrdiff_t>(count), taps_ - 1, frames_.begin());
    return made;
  }

 private:
  float frameAt(std::size_t frame, std::size_t row) const {
    const auto* const samples = frames_.data() + frame;
    const auto* const weights = rows_.data() + row * taps_;
    std::array<float, kLanes> sums{};
    for (std::size_t i = 0; i < taps_; i += kLanes) {
      for (std::size_t lane = 0; lane < kLanes; ++lane) {
        sums[lane] += samples[i + lane] * weights[i + lane];
      }
    }
    return std::reduce(sums.begin(), sums.end());
  }

  void advance() {
    row_ += down_;
    next_ += row_ / up_;
    row_ %= up_;
  }

  std::size_t up_;    ///< output frames for
  std::size_t down_;  ///< so many of input
  std::size_t taps_ = 0;
  std::vector<float> rows_;
  std::vector<float> frames_;  ///< the `taps_` - 1 before the input, then the input
  std::size_t next_ = 0;       ///< frame of the input at which the next output frame lies,
  std::size_t row_ = 0;        ///< and so many `up_`ths further
};

class MonoConverter : public SampleConverter {
 public:
  MonoConverter(const Format& from, const Format& to)
      : from_(from), to_(to), output_(to.sampleRate / kLongestBlocksPerSecond + 1) {
    if (from.sampleRate != to.sampleRate) resampler_.emplace(from.sampleRate, to.sampleRate);
  }

  Result convert(const BufferView& input, std::size_t capacity) override {
    if (input.format != from_) {
      return {.status = Status::kError, .output = {}, .error = "the input changed its format"};
    }
    const auto frames = input.frames();
    const auto room = resampler_ ? capacity : std::max(frames, capacity);
    if (room > output_.size()) output_.resize(room);
    auto made = std::min(frames, capacity);
    if (resampler_) {
      mixToMono(input, resampler_->input(frames));
      made = resampler_->run(frames, std::span(output_).first(capacity));
    } else {
      mixToMono(input, std::span(output_).first(frames));
    }
    return {.status = made == capacity ? Status::kHaveData : Status::kInputRanDry,
            .output = std::span(output_).first(made),
            .error = {}};
  }

  std::string description() const override {
    return "polyphase " + std::to_string(from_.sampleRate) + " Hz x" +
           std::to_string(from_.channels) + " -> " + std::to_string(to_.sampleRate) + " Hz mono";
  }

 private:
  Format from_;
  Format to_;
  std::optional<Resampler> resampler_;  ///< none at equal rates
  std::vector<float> output_;
};

}  // namespace

std::unique_ptr<SampleConverter> makeSampleConverter(const Format& from, const Format& to) {
  if (!from.exists() || !to.exists() || to.channels != 1) return nullptr;
  return std::make_unique<MonoConverter>(from, to);
}

}  // namespace quorin::audio
