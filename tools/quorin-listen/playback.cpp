#include "quorin-listen/playback.h"

#include "measure/sound_format.h"
#include "quorin-listen/jitter_buffer.h"

#include <pulse/pulseaudio.h>

#include <QString>
#include <vector>

namespace quorin::listen {
namespace {

/// By the rule of the program that streams: it sends from any device of this name.
bool isStreamed(const std::string& description) {
  return QString::fromStdString(description).contains(u"Quorin Audio", Qt::CaseInsensitive);
}

struct Sink {
  std::string name;
  std::string description;
};

}  // namespace

/// Everything here is guarded by the mainloop's lock, the jitter buffer included: both the write
/// callback and `push` hold it for the time of a copy.
struct Playback::Pulse {
  pa_threaded_mainloop* loop = pa_threaded_mainloop_new();
  pa_context* context = nullptr;
  pa_stream* stream = nullptr;
  JitterBuffer buffer;
  Sink sink;

  Pulse() = default;
  Pulse(const Pulse&) = delete;
  Pulse& operator=(const Pulse&) = delete;
  ~Pulse() {
    pa_threaded_mainloop_stop(loop);
    if (stream != nullptr) {
      pa_stream_disconnect(stream);
      pa_stream_unref(stream);
    }
    if (context != nullptr) {
      pa_context_disconnect(context);
      pa_context_unref(context);
    }
    pa_threaded_mainloop_free(loop);
  }

  void wake() { pa_threaded_mainloop_signal(loop, 0); }
  void waitFor(pa_operation* operation) {
    if (operation == nullptr) return;
    while (pa_operation_get_state(operation) == PA_OPERATION_RUNNING) {
      pa_threaded_mainloop_wait(loop);
    }
    pa_operation_unref(operation);
  }

  bool connect();
  void findSink(const std::optional<std::string>& wanted);
  bool startStream();
  void write(std::size_t bytes);
};

bool Playback::Pulse::connect() {
  context = pa_context_new(pa_threaded_mainloop_get_api(loop), "quorin-listen");
  pa_context_set_state_callback(
      context, [](pa_context*, void* self) { static_cast<Pulse*>(self)->wake(); }, this);
  if (pa_context_connect(context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) return false;
  pa_threaded_mainloop_start(loop);
  for (;;) {
    const auto state = pa_context_get_state(context);
    if (state == PA_CONTEXT_READY) return true;
    if (!PA_CONTEXT_IS_GOOD(state)) return false;
    pa_threaded_mainloop_wait(loop);
  }
}

void Playback::Pulse::findSink(const std::optional<std::string>& wanted) {
  const auto onServer = [](pa_context*, const pa_server_info* info, void* self) {
    if (info != nullptr && info->default_sink_name != nullptr) {
      static_cast<Pulse*>(self)->sink.name = info->default_sink_name;
    }
    static_cast<Pulse*>(self)->wake();
  };
  const auto onSink = [](pa_context*, const pa_sink_info* info, int, void* self) {
    const bool isNamed = info != nullptr && info->name != nullptr && info->description != nullptr;
    if (isNamed) static_cast<Pulse*>(self)->sink = {info->name, info->description};
    static_cast<Pulse*>(self)->wake();
  };
  if (wanted) {
    sink.name = *wanted;
  } else {
    waitFor(pa_context_get_server_info(context, onServer, this));
  }
  waitFor(pa_context_get_sink_info_by_name(context, sink.name.c_str(), onSink, this));
}

bool Playback::Pulse::startStream() {
  const pa_sample_spec format{
      .format = PA_SAMPLE_FLOAT32LE, .rate = measure::kSampleRate, .channels = 1};
  stream = pa_stream_new(context, "Received sound", &format, nullptr);
  pa_stream_set_state_callback(
      stream, [](pa_stream*, void* self) { static_cast<Pulse*>(self)->wake(); }, this);
  pa_stream_set_write_callback(
      stream,
      [](pa_stream*, std::size_t bytes, void* self) { static_cast<Pulse*>(self)->write(bytes); },
      this);
  pa_buffer_attr buffering{};
  buffering.maxlength = static_cast<std::uint32_t>(-1);
  buffering.tlength = static_cast<std::uint32_t>(pa_usec_to_bytes(40'000, &format));
  buffering.prebuf = static_cast<std::uint32_t>(-1);
  buffering.minreq = static_cast<std::uint32_t>(-1);
  if (pa_stream_connect_playback(stream, sink.name.c_str(), &buffering, PA_STREAM_ADJUST_LATENCY,
                                 nullptr, nullptr) < 0) {
    return false;
  }
  while (pa_stream_get_state(stream) == PA_STREAM_CREATING) pa_threaded_mainloop_wait(loop);
  return pa_stream_get_state(stream) == PA_STREAM_READY;
}

void Playback::Pulse::write(std::size_t bytes) {
  std::vector<float> samples(bytes / sizeof(float));
  buffer.pull(samples);
  pa_stream_write(stream, samples.data(), samples.size() * sizeof(float), nullptr, 0,
                  PA_SEEK_RELATIVE);
}

Playback::Playback(std::unique_ptr<Pulse> pulse) : pulse_(std::move(pulse)) {}
Playback::~Playback() = default;

std::expected<std::unique_ptr<Playback>, std::string> Playback::open(
    const std::optional<std::string>& sink) {
  auto pulse = std::make_unique<Pulse>();
  pa_threaded_mainloop_lock(pulse->loop);
  const auto attempt = [&]() -> std::string {
    if (!pulse->connect()) return "No sound server answers: start PulseAudio or PipeWire to play.";
    pulse->findSink(sink);
    if (pulse->sink.description.empty()) {
      return sink ? "There is no sink \"" + *sink + "\": see pactl list short sinks."
                  : "There is no default sink to play to: name one with --sink NAME.";
    }
    if (isStreamed(pulse->sink.description)) {
      return "The sound would go back into the device that is being streamed (" +
             pulse->sink.description + "): name another one with --sink NAME.";
    }
    if (!pulse->startStream()) return "The sink " + pulse->sink.name + " does not take the sound.";
    return {};
  };
  auto problem = attempt();
  pa_threaded_mainloop_unlock(pulse->loop);
  if (!problem.empty()) return std::unexpected(std::move(problem));
  return std::unique_ptr<Playback>(new Playback(std::move(pulse)));
}

void Playback::push(std::span<const float> samples) {
  pa_threaded_mainloop_lock(pulse_->loop);
  pulse_->buffer.push(samples);
  pa_threaded_mainloop_unlock(pulse_->loop);
}

}  // namespace quorin::listen
