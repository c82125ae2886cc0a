#include "platform/audio/converter.h"

#include <speex/speex_resampler.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <span>
#include <utility>
#include <vector>

namespace quorin::audio {
namespace {

// Measured beside its neighbours in docs/sound.md: flat to 19.5 kHz, without audible
// aliases from above.
constexpr int kQuality = 6;

constexpr float kMinSample = 1e-20F;
constexpr float kMaxSample = 1e20F;

constexpr unsigned kLongestBlocksPerSecond = 25;  // 40 ms

struct DestroyResampler {
  void operator()(SpeexResamplerState* state) const { ::speex_resampler_destroy(state); }
};
using Resampler = std::unique_ptr<SpeexResamplerState, DestroyResampler>;

/// Comparisons with NaN are false, hence the one test for all that is no audible number.
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

class SpeexConverter : public SampleConverter {
 public:
  /// No resampler: the rates are equal.
  SpeexConverter(Resampler resampler, const Format& from, const Format& to)
      : resampler_(std::move(resampler)),
        from_(from),
        to_(to),
        mono_(from.sampleRate / kLongestBlocksPerSecond + 1),
        output_(to.sampleRate / kLongestBlocksPerSecond + 1) {}

  Result convert(const BufferView& input, std::size_t capacity) override {
    if (input.format != from_) {
      return {.status = Status::kError, .output = {}, .error = "the input changed its format"};
    }
    const auto frames = input.frames();
    if (frames > mono_.size()) mono_.resize(frames);
    if (capacity > output_.size()) output_.resize(capacity);
    const auto mono = std::span(mono_).first(frames);
    mixToMono(input, mono);
    const auto output =
        resampler_ ? resample(mono, capacity) : std::span(mono).first(std::min(frames, capacity));
    return {.status = output.size() == capacity ? Status::kHaveData : Status::kInputRanDry,
            .output = output,
            .error = {}};
  }

  std::string description() const override {
    return "speexdsp " + std::to_string(from_.sampleRate) + " Hz x" +
           std::to_string(from_.channels) + " -> " + std::to_string(to_.sampleRate) +
           " Hz mono, quality " + std::to_string(kQuality);
  }

 private:
  std::span<const float> resample(std::span<const float> mono, std::size_t capacity) {
    auto taken = static_cast<spx_uint32_t>(mono.size());
    auto made = static_cast<spx_uint32_t>(capacity);
    ::speex_resampler_process_float(resampler_.get(), 0, mono.data(), &taken, output_.data(),
                                    &made);
    return std::span(output_).first(made);
  }

  Resampler resampler_;
  Format from_;
  Format to_;
  std::vector<float> mono_;
  std::vector<float> output_;
};

}  // namespace

std::unique_ptr<SampleConverter> makeSampleConverter(const Format& from, const Format& to) {
  if (!from.exists() || !to.exists() || to.channels != 1) return nullptr;
  Resampler resampler;
  if (from.sampleRate != to.sampleRate) {
    resampler.reset(::speex_resampler_init(1, from.sampleRate, to.sampleRate, kQuality, nullptr));
    if (!resampler) return nullptr;
  }
  return std::make_unique<SpeexConverter>(std::move(resampler), from, to);
}

}  // namespace quorin::audio
