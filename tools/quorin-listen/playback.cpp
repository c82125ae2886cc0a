#include "quorin-listen/playback.h"

#include "audio/device_guard.h"
#include "measure/sound_format.h"
#include "platform/audio/pulse_connection.h"

#include <algorithm>
#include <deque>
#include <vector>

namespace quorin::listen {
namespace {

using namespace std::chrono_literals;
using audio::PulseConnection;

constexpr auto kTimeout = 5s;
constexpr std::size_t kPrimed = 3 * wire::kChunkFrames;  ///< 60 ms
constexpr std::size_t kMax = 8 * wire::kChunkFrames;     ///< 160 ms

struct DropStream {
  void operator()(pa_stream* stream) const {
    pa_stream_set_write_callback(stream, nullptr, nullptr);
    pa_stream_disconnect(stream);
    pa_stream_unref(stream);
  }
};

}  // namespace

/// Everything but the connection itself is guarded by its lock.
struct Playback::Pulse {
  PulseConnection connection{{.applicationName = "quorin-listen", .reconnect = false}};
  std::unique_ptr<pa_stream, DropStream> stream;
  std::string name;
  std::string description;
  /// The jitter buffer: plays silence until `kPrimed` samples wait, and again after it ran empty.
  /// Beyond `kMax` it is cut back to `kPrimed`, so that delay cannot creep.
  std::deque<float> waiting;
  bool playing = false;

  ~Pulse() {
    const PulseConnection::Lock lock(connection);
    stream.reset();
  }

  void findSink(const std::optional<std::string>& wanted) {
    const auto onServer = [](pa_context*, const pa_server_info* info, void* self) {
      if (info == nullptr || info->default_sink_name == nullptr) return;
      static_cast<Pulse*>(self)->name = info->default_sink_name;
    };
    const auto onSink = [](pa_context*, const pa_sink_info* info, int, void* self) {
      if (info == nullptr || info->name == nullptr || info->description == nullptr) return;
      static_cast<Pulse*>(self)->description = info->description;
    };
    auto* const context = connection.ready();
    if (wanted) {
      name = *wanted;
    } else {
      connection.run(pa_context_get_server_info(context, onServer, this), kTimeout);
    }
    connection.run(pa_context_get_sink_info_by_name(context, name.c_str(), onSink, this), kTimeout);
  }

  bool startStream() {
    const pa_sample_spec format{
        .format = PA_SAMPLE_FLOAT32LE, .rate = measure::kSampleRate, .channels = 1};
    stream.reset(pa_stream_new(connection.ready(), "Received sound", &format, nullptr));
    pa_stream_set_state_callback(
        stream.get(),
        [](pa_stream*, void* self) { static_cast<Pulse*>(self)->connection.changed(); }, this);
    pa_stream_set_write_callback(
        stream.get(),
        [](pa_stream*, std::size_t bytes, void* self) { static_cast<Pulse*>(self)->write(bytes); },
        this);
    constexpr auto kServers = static_cast<std::uint32_t>(-1);  // the server's own choice
    const pa_buffer_attr buffering{
        .maxlength = kServers,
        .tlength = static_cast<std::uint32_t>(pa_usec_to_bytes(40'000, &format)),
        .prebuf = kServers,
        .minreq = kServers,
        .fragsize = kServers};
    const auto state = [this] { return pa_stream_get_state(stream.get()); };
    return pa_stream_connect_playback(stream.get(), name.c_str(), &buffering,
                                      PA_STREAM_ADJUST_LATENCY, nullptr, nullptr) >= 0 &&
           connection.waitUntil(kTimeout, [&] { return state() != PA_STREAM_CREATING; }) &&
           state() == PA_STREAM_READY;
  }

  void write(std::size_t bytes) {
    std::vector<float> samples(bytes / sizeof(float));
    const auto taken = playing ? std::min(samples.size(), waiting.size()) : 0;
    playing = taken == samples.size();
    const auto end = waiting.begin() + static_cast<std::ptrdiff_t>(taken);
    std::copy(waiting.begin(), end, samples.begin());
    waiting.erase(waiting.begin(), end);
    pa_stream_write(stream.get(), samples.data(), bytes, nullptr, 0, PA_SEEK_RELATIVE);
  }
};

Playback::Playback(std::unique_ptr<Pulse> pulse) : pulse_(std::move(pulse)) {}
Playback::~Playback() = default;

std::expected<std::unique_ptr<Playback>, std::string> Playback::open(
    const std::optional<std::string>& sink) {
  auto pulse = std::make_unique<Pulse>();
  const PulseConnection::Lock lock(pulse->connection);
  if (!pulse->connection.waitUntilReady(kTimeout)) {
    return std::unexpected("No sound server answers: start PulseAudio or PipeWire to play.");
  }
  pulse->findSink(sink);
  if (pulse->description.empty()) {
    return std::unexpected(sink
                               ? "There is no sink \"" + *sink + "\": see pactl list short sinks."
                               : "There is no default sink to play to: name one with --sink NAME.");
  }
  if (audio::mayBeStreamed({.number = 1, .name = pulse->description, .format = {}})) {
    return std::unexpected("The sound would go back into the device that is being streamed (" +
                           pulse->description + "): name another one with --sink NAME.");
  }
  if (!pulse->startStream()) {
    return std::unexpected("The sink " + pulse->name + " does not take the sound.");
  }
  return std::unique_ptr<Playback>(new Playback(std::move(pulse)));
}

void Playback::push(std::span<const float> samples) {
  const PulseConnection::Lock lock(pulse_->connection);
  auto& waiting = pulse_->waiting;
  waiting.insert(waiting.end(), samples.begin(), samples.end());
  if (waiting.size() > kMax) {
    waiting.erase(waiting.begin(), waiting.end() - static_cast<std::ptrdiff_t>(kPrimed));
  }
  pulse_->playing |= waiting.size() >= kPrimed;
}

}  // namespace quorin::listen
