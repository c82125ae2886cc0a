#include "platform/audio/backend/swr_converter.h"

#include <array>
#include <cmath>
#include <numeric>
#include <span>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/error.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace quorin::audio {
namespace {

// From 48000 Hz and more: flat to 20 kHz, where the library's defaults (32, 0.97) have lost 1.3 dB.
// The slope is as wide as it may be: what lies between 22 and 24 kHz comes back weakened and above
// 20 kHz, where nobody hears it, and what lies higher at -84 dB at most.
constexpr int kFilterSize = 64;
// From less, what the slope lets through is heard.
constexpr int kFilterSizeUpwards = 96;
constexpr double kCutoff = 0.98;
constexpr double kKaiserBeta = 8;

constexpr float kQuietest = 1e-20F;
constexpr float kLoudest = 1e20F;

constexpr unsigned kLongestBlocksPerSecond = 25;  // 40 ms
constexpr unsigned kBacklogsPerSecond = 50;       // 20 ms

struct SwrFree {
  void operator()(SwrContext* context) const { ::swr_free(&context); }
};
using Swr = std::unique_ptr<SwrContext, SwrFree>;

/// Comparisons with NaN are false, hence the one test for all that is no audible number.
float audibleOrSilence(float sample) {
  const auto size = std::abs(sample);
  return size >= kQuietest && size <= kLoudest ? sample : 0.0F;
}

template <typename SumOfFrame>
void mix(std::span<float> mono, std::size_t channels, SumOfFrame sumOf) {
  const float scale = 1.0F / static_cast<float>(channels);
  for (std::size_t i = 0; i < mono.size(); ++i) mono[i] = audibleOrSilence(sumOf(i) * scale);
}

void mixToMono(const BufferView& input, std::span<float> mono) {
  const std::size_t channels = input.format.channels;
  const float* const samples = input.samples.data();
  if (channels == 2) {  // nearly always, and then in vectors
    mix(mono, 2, [=](std::size_t i) { return samples[2 * i] + samples[2 * i + 1]; });
  } else {
    mix(mono, channels, [=](std::size_t i) {
      const std::span frame(samples + i * channels, channels);
      return std::accumulate(frame.begin(), frame.end(), 0.0F);
    });
  }
}

int filterSize(unsigned fromRate, unsigned toRate) {
  return fromRate < toRate ? kFilterSizeUpwards : kFilterSize;
}

Swr makeResampler(unsigned fromRate, unsigned toRate) {
  Swr swr(::swr_alloc());
  if (!swr) return nullptr;
  AVChannelLayout mono{};
  ::av_channel_layout_default(&mono, 1);
  ::av_opt_set_chlayout(swr.get(), "in_chlayout", &mono, 0);
  ::av_opt_set_chlayout(swr.get(), "out_chlayout", &mono, 0);
  ::av_opt_set_int(swr.get(), "in_sample_rate", fromRate, 0);
  ::av_opt_set_int(swr.get(), "out_sample_rate", toRate, 0);
  ::av_opt_set_sample_fmt(swr.get(), "in_sample_fmt", AV_SAMPLE_FMT_FLT, 0);
  ::av_opt_set_sample_fmt(swr.get(), "out_sample_fmt", AV_SAMPLE_FMT_FLT, 0);
  ::av_opt_set_int(swr.get(), "filter_size", filterSize(fromRate, toRate), 0);
  ::av_opt_set_double(swr.get(), "cutoff", kCutoff, 0);
  ::av_opt_set_double(swr.get(), "kaiser_beta", kKaiserBeta, 0);
  if (::swr_init(swr.get()) < 0) return nullptr;
  return swr;
}

class SwrConverter : public SampleConverter {
 public:
  SwrConverter(Swr swr, const Format& from, const Format& to)
      : swr_(std::move(swr)), from_(from), to_(to) {
    prime();
  }

  Result convert(const BufferView& input, std::size_t capacity) override {
    if (input.format != from_) {
      return {.status = Status::kError, .output = {}, .error = "the input changed its format"};
    }
    const auto frames = input.frames();
    if (frames > mono_.size()) mono_.resize(frames);
    if (capacity > output_.size()) output_.resize(capacity);
    mixToMono(input, std::span(mono_).first(frames));
    return resample(frames, capacity);
  }

  std::string description() const override {
    return "swresample " + std::to_string(from_.sampleRate) + " Hz x" +
           std::to_string(from_.channels) + " -> " + std::to_string(to_.sampleRate) +
           " Hz mono, filter " + std::to_string(filterSize(from_.sampleRate, to_.sampleRate));
  }

 private:
  /// Feeds the longest silence and takes back all that comes of it. What stays inside is half a
  /// filter of silence: from here on every block gives its full number of frames, instead of the
  /// first falling short and each chunk waiting for the block after its own. It also makes the
  /// library allocate its buffers now.
  void prime() {
    mono_.resize(from_.sampleRate / kLongestBlocksPerSecond + 1);
    output_.resize(to_.sampleRate / kLongestBlocksPerSecond + 1);
    resample(mono_.size(), output_.size());
    while (!resample(0, output_.size()).output.empty()) {
    }
    filterDelay_ = ::swr_get_delay(swr_.get(), to_.sampleRate);
  }

  Result resample(std::size_t frames, std::size_t capacity) {
    auto* out = reinterpret_cast<std::uint8_t*>(output_.data());
    const auto* in = reinterpret_cast<const std::uint8_t*>(mono_.data());
    const int made =
        ::swr_convert(swr_.get(), &out, static_cast<int>(capacity), &in, static_cast<int>(frames));
    if (made < 0) {
      ::av_strerror(made, error_.data(), error_.size());
      return {.status = Status::kError, .output = {}, .error = error_.data()};
    }
    boundBacklog();
    const auto count = static_cast<std::size_t>(made);
    return {.status = count == capacity ? Status::kHaveData : Status::kInputRanDry,
            .output = std::span(output_).first(count),
            .error = {}};
  }

  void boundBacklog() {
    const auto waiting = ::swr_get_delay(swr_.get(), to_.sampleRate) - filterDelay_;
    const auto most = static_cast<std::int64_t>(to_.sampleRate / kBacklogsPerSecond);
    if (waiting > most) ::swr_drop_output(swr_.get(), static_cast<int>(waiting - most));
  }

  Swr swr_;
  Format from_;
  Format to_;
  std::vector<float> mono_;
  std::vector<float> output_;
  std::int64_t filterDelay_ = 0;  ///< in output frames
  std::array<char, AV_ERROR_MAX_STRING_SIZE> error_{};
};

}  // namespace

std::unique_ptr<SampleConverter> makeSwrConverter(const Format& from, const Format& to) {
  if (!from.exists() || !to.exists() || to.channels != 1) return nullptr;
  auto swr = makeResampler(from.sampleRate, to.sampleRate);
  if (!swr) return nullptr;
  return std::make_unique<SwrConverter>(std::move(swr), from, to);
}

}  // namespace quorin::audio
