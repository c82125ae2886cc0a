#include "sound/player.h"

#include "platform/audio/pulse_connection.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace quorin::sound {
namespace {

using namespace std::chrono_literals;
using audio::PulseConnection;
using std::chrono::nanoseconds;

constexpr auto kTimeout = 5s;
constexpr auto kReportInterval = 50ms;

/// How far the stream was heard at some moment.
struct Heard {
  nanoseconds at;
  nanoseconds streamTime;
};

/// When each tick was heard: the median of the reports around it, for single ones may come late.
std::vector<nanoseconds> tickTimes(const Track& track, const std::vector<Heard>& reports) {
  std::vector<nanoseconds> times;
  for (const auto tick : track.ticks) {
    const nanoseconds inStream(std::llround(Track::secondsAt(tick) * 1e9));
    std::vector<nanoseconds> offsets;
    for (const auto& report : reports) {
      if (std::chrono::abs(report.streamTime - inStream) < 500ms) {
        offsets.push_back(report.at - report.streamTime);
      }
    }
    if (offsets.empty()) continue;
    std::ranges::sort(offsets);
    times.push_back(inStream + offsets[offsets.size() / 2]);
  }
  return times;
}

struct DropStream {
  void operator()(pa_stream* stream) const {
    pa_stream_set_write_callback(stream, nullptr, nullptr);
    pa_stream_set_underflow_callback(stream, nullptr, nullptr);
    pa_stream_disconnect(stream);
    pa_stream_unref(stream);
  }
};

/// One run, with the connection locked.
class Player {
 public:
  Player(PulseConnection& connection, const Track& track)
      : connection_(connection), track_(track) {}

  std::expected<Played, std::string> run(const std::string& sink, Buffering buffering) {
    if (!connection_.waitUntilReady(kTimeout)) return std::unexpected("No sound server answers.");
    openStream(sink, buffering);
    const auto state = [this] { return pa_stream_get_state(stream_.get()); };
    if (!connection_.waitUntil(kTimeout, [&] { return state() == PA_STREAM_READY; })) {
      return std::unexpected("The sink " + sink + " does not take the sound.");
    }
    while (!connection_.waitUntil(kReportInterval, [this] { return drained_; })) {
      if (state() != PA_STREAM_READY) return std::unexpected("The sound server went away.");
      askHowFar();
    }
    return Played{.ticks = tickTimes(track_, reports_), .timesLate = timesLate_};
  }

 private:
  static Player& of(void* self) { return *static_cast<Player*>(self); }

  void openStream(const std::string& sink, Buffering buffering) {
    const pa_sample_spec format{.format = PA_SAMPLE_FLOAT32LE, .rate = kTrackRate, .channels = 1};
    stream_.reset(pa_stream_new(connection_.ready(), "Test sound", &format, nullptr));
    pa_stream_set_state_callback(
        stream_.get(), [](pa_stream*, void* self) { of(self).connection_.changed(); }, this);
    pa_stream_set_write_callback(
        stream_.get(), [](pa_stream*, std::size_t bytes, void* self) { of(self).write(bytes); },
        this);
    pa_stream_set_underflow_callback(
        stream_.get(),
        [](pa_stream*, void* self) { of(self).timesLate_ += of(self).draining_ ? 0U : 1U; }, this);
    pa_buffer_attr wanted{};
    wanted.maxlength = wanted.prebuf = wanted.minreq = static_cast<std::uint32_t>(-1);
    if (buffering) {
      const auto ahead = static_cast<pa_usec_t>(std::chrono::microseconds(*buffering).count());
      wanted.tlength = static_cast<std::uint32_t>(pa_usec_to_bytes(ahead, &format));
    }
    pa_stream_connect_playback(stream_.get(), sink.c_str(), buffering ? &wanted : nullptr,
                               buffering ? PA_STREAM_ADJUST_LATENCY : PA_STREAM_NOFLAGS, nullptr,
                               nullptr);
  }

  void write(std::size_t bytes) {
    const auto samples = std::min(bytes / sizeof(float), track_.samples.size() - written_);
    if (samples > 0) {
      pa_stream_write(stream_.get(), &track_.samples[written_], samples * sizeof(float), nullptr, 0,
                      PA_SEEK_RELATIVE);
      written_ += samples;
    }
    if (written_ < track_.samples.size() || draining_) return;
    draining_ = true;
    const auto onDrained = [](pa_stream*, int, void* self) {
      of(self).drained_ = true;
      of(self).connection_.changed();
    };
    pa_operation_unref(pa_stream_drain(stream_.get(), onDrained, this));
  }

  void askHowFar() {
    const auto onTiming = [](pa_stream* stream, int success, void* self) {
      pa_usec_t heard = 0;
      if (success == 0 || pa_stream_get_time(stream, &heard) < 0 || heard == 0) return;
      of(self).reports_.push_back({.at = std::chrono::system_clock::now().time_since_epoch(),
                                   .streamTime = std::chrono::microseconds(heard)});
    };
    connection_.run(pa_stream_update_timing_info(stream_.get(), onTiming, this), kTimeout);
  }

  PulseConnection& connection_;
  const Track& track_;
  std::unique_ptr<pa_stream, DropStream> stream_;
  std::size_t written_ = 0;
  bool draining_ = false;
  bool drained_ = false;
  std::size_t timesLate_ = 0;
  std::vector<Heard> reports_;
};

}  // namespace

std::expected<Played, std::string> play(const Track& track, const std::string& sink,
                                        Buffering buffering) {
  PulseConnection connection({.applicationName = "quorin-sound", .reconnect = false});
  const PulseConnection::Lock lock(connection);
  return Player(connection, track).run(sink, buffering);
}

}  // namespace quorin::sound
