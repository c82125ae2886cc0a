#include "sound/player.h"

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>

namespace quorin::sound {
namespace {

using std::chrono::nanoseconds;

constexpr pa_usec_t kTimingInterval = 50'000;  // us

nanoseconds wallNow() {
  return std::chrono::system_clock::now().time_since_epoch();
}

/// How far the stream was heard at some moment.
struct Heard {
  nanoseconds at;
  nanoseconds streamTime;

  nanoseconds offset() const { return at - streamTime; }
};

/// When each tick was heard: the median of the reports around it, for single ones may come late.
std::vector<nanoseconds> tickTimes(const Track& track, const std::vector<Heard>& reports) {
  constexpr std::chrono::milliseconds kAround{500};
  std::vector<nanoseconds> times;
  for (const auto tick : track.ticks) {
    const nanoseconds inStream(std::llround(Track::secondsAt(tick) * 1e9));
    std::vector<nanoseconds> offsets;
    for (const auto& report : reports) {
      if (std::chrono::abs(report.streamTime - inStream) < kAround) {
        offsets.push_back(report.offset());
      }
    }
    if (offsets.empty()) continue;
    std::ranges::sort(offsets);
    times.push_back(inStream + offsets[offsets.size() / 2]);
  }
  return times;
}

/// One run on libpulse's own loop; every callback comes on the thread that runs it.
class Player {
 public:
  Player(const Track& track, std::string sink, Buffering buffering)
      : track_(track), sink_(std::move(sink)), buffering_(buffering) {
    auto* api = pa_mainloop_get_api(loop_.get());
    context_.reset(pa_context_new(api, "quorin-sound"));
  }
  ~Player() {
    if (stream_) pa_stream_disconnect(stream_.get());
    pa_context_disconnect(context_.get());
  }
  Player(const Player&) = delete;
  Player& operator=(const Player&) = delete;

  std::expected<Played, std::string> run() {
    pa_context_connect(context_.get(), nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
    if (!runUntil([this] { return pa_context_get_state(context_.get()) == PA_CONTEXT_READY; })) {
      return std::unexpected("No sound server answers.");
    }
    openStream();
    if (!runUntil([this] { return pa_stream_get_state(stream_.get()) == PA_STREAM_READY; })) {
      return std::unexpected("The sink " + sink_ + " does not take the sound.");
    }
    auto nextReport = pa_rtclock_now();
    while (!drained_) {
      if (pa_rtclock_now() >= nextReport) {
        nextReport = pa_rtclock_now() + kTimingInterval;
        askHowFar();
      }
      // Bounded waits, so that the reports keep coming when nothing else happens.
      pa_mainloop_prepare(loop_.get(), static_cast<int>(kTimingInterval));
      if (pa_mainloop_poll(loop_.get()) < 0 || pa_mainloop_dispatch(loop_.get()) < 0 || !alive()) {
        return std::unexpected("The sound server went away.");
      }
    }
    return Played{.ticks = tickTimes(track_, reports_), .timesLate = timesLate_};
  }

 private:
  struct Free {
    void operator()(pa_mainloop* loop) const { pa_mainloop_free(loop); }
    void operator()(pa_context* context) const { pa_context_unref(context); }
    void operator()(pa_stream* stream) const { pa_stream_unref(stream); }
  };

  bool alive() const {
    return PA_CONTEXT_IS_GOOD(pa_context_get_state(context_.get())) &&
           (!stream_ || PA_STREAM_IS_GOOD(pa_stream_get_state(stream_.get())));
  }

  bool runUntil(const std::function<bool()>& done) {
    while (!done()) {
      if (!alive() || pa_mainloop_iterate(loop_.get(), 1, nullptr) < 0) return false;
    }
    return true;
  }

  void openStream() {
    const pa_sample_spec format{.format = PA_SAMPLE_FLOAT32LE, .rate = kTrackRate, .channels = 1};
    stream_.reset(pa_stream_new(context_.get(), "Test sound", &format, nullptr));
    pa_stream_set_write_callback(
        stream_.get(),
        [](pa_stream*, std::size_t bytes, void* self) { static_cast<Player*>(self)->write(bytes); },
        this);
    pa_stream_set_underflow_callback(
        stream_.get(),
        [](pa_stream*, void* self) {
          auto& player = *static_cast<Player*>(self);
          if (!player.draining_) ++player.timesLate_;
        },
        this);
    pa_buffer_attr wanted{};
    wanted.maxlength = wanted.prebuf = wanted.minreq = static_cast<std::uint32_t>(-1);
    if (buffering_) {
      const auto ahead = std::chrono::microseconds(*buffering_).count();
      wanted.tlength =
          static_cast<std::uint32_t>(pa_usec_to_bytes(static_cast<pa_usec_t>(ahead), &format));
    }
    pa_stream_connect_playback(stream_.get(), sink_.c_str(), buffering_ ? &wanted : nullptr,
                               buffering_ ? PA_STREAM_ADJUST_LATENCY : PA_STREAM_NOFLAGS, nullptr,
                               nullptr);
  }

  void write(std::size_t bytes) {
    const auto samples = std::min(bytes / sizeof(float), track_.samples.size() - written_);
    if (samples > 0) {
      pa_stream_write(stream_.get(), &track_.samples[written_], samples * sizeof(float), nullptr, 0,
                      PA_SEEK_RELATIVE);
      written_ += samples;
    }
    if (written_ == track_.samples.size() && !draining_) {
      draining_ = true;
      const auto onDrained = [](pa_stream*, int, void* self) {
        static_cast<Player*>(self)->drained_ = true;
      };
      pa_operation_unref(pa_stream_drain(stream_.get(), onDrained, this));
    }
  }

  void askHowFar() {
    const auto onTiming = [](pa_stream* stream, int success, void* self) {
      pa_usec_t heard = 0;
      if (success == 0 || pa_stream_get_time(stream, &heard) < 0 || heard == 0) return;
      static_cast<Player*>(self)->reports_.push_back(
          {.at = wallNow(), .streamTime = std::chrono::microseconds(heard)});
    };
    auto* operation = pa_stream_update_timing_info(stream_.get(), onTiming, this);
    if (operation != nullptr) pa_operation_unref(operation);
  }

  const Track& track_;
  std::string sink_;
  Buffering buffering_;
  std::unique_ptr<pa_mainloop, Free> loop_{pa_mainloop_new()};
  std::unique_ptr<pa_context, Free> context_;
  std::unique_ptr<pa_stream, Free> stream_;
  std::size_t written_ = 0;
  bool draining_ = false;
  bool drained_ = false;
  std::size_t timesLate_ = 0;
  std::vector<Heard> reports_;
};

}  // namespace

std::expected<Played, std::string> play(const Track& track, const std::string& sink,
                                        Buffering buffering) {
  return Player(track, sink, buffering).run();
}

}  // namespace quorin::sound
