#include "platform/audio/pulse_engine.h"

#include "platform/audio/pulse_server.h"
#include "wire/audio_chunk.h"

#include <algorithm>
#include <cassert>
#include <chrono>
#include <utility>

namespace quorin::audio {
namespace {

using namespace std::chrono_literals;

constexpr auto kMaxWait = 500ms;
/// After the server has ended a recording of a device that is still there.
constexpr auto kRetryDelay = 200ms;

/// Together with PA_STREAM_ADJUST_LATENCY this makes the server record in steps of 10 ms (PipeWire
/// takes half of it), two for a block: smaller steps wake the program more often, larger ones cost
/// latency. Without either, PulseAudio delivers up to 2 s at once.
constexpr pa_usec_t kFragmentMicroseconds = 10'000;
constexpr pa_usec_t kPipeWireFragmentMicroseconds = 20'000;

/// For an input whose rate has no whole block; every server can convert to it.
constexpr unsigned kFallbackRate = 48000;

std::unexpected<Error> failure(std::string description) {
  return std::unexpected(Error{std::move(description)});
}

}  // namespace

void PulseEngine::DropStream::operator()(pa_stream* stream) const {
  ::pa_stream_set_state_callback(stream, nullptr, nullptr);
  ::pa_stream_set_read_callback(stream, nullptr, nullptr);
  if (::pa_stream_get_state(stream) == PA_STREAM_CREATING) {
    // It cannot be disconnected yet, and would record forever once the server answers; until then
    // the context keeps it alive.
    ::pa_stream_set_state_callback(
        stream,
        [](pa_stream* late, void*) {
          if (::pa_stream_get_state(late) == PA_STREAM_READY) ::pa_stream_disconnect(late);
        },
        nullptr);
  } else {
    ::pa_stream_disconnect(stream);
  }
  ::pa_stream_unref(stream);
}

PulseEngine::PulseEngine(PulseServer& server, SourceTest accepts)
    : server_(server), accepts_(std::move(accepts)) {
  const PulseConnection::Lock lock(server_.connection());
  server_.add(*this);
}

PulseEngine::~PulseEngine() {
  stop();
  const PulseConnection::Lock lock(server_.connection());
  server_.remove(*this);
}

Format PulseEngine::inputFormat() {
  const PulseConnection::Lock lock(server_.connection());
  if (!server_.waitForDevices(kMaxWait) || !server_.defaultSource()) return {};
  return server_.defaultSource()->device.format;
}

void PulseEngine::installTap(std::size_t frames, TapHandler handler) {
  const PulseConnection::Lock lock(server_.connection());
  assert(!tap_ && !stream_);
  tap_.emplace(frames, std::move(handler), std::nullopt);
}

void PulseEngine::removeTap() {
  const PulseConnection::Lock lock(server_.connection());
  tap_.reset();
}

std::expected<void, Error> PulseEngine::start() {
  const PulseConnection::Lock lock(server_.connection());
  if (running_) return {};
  auto started = startLocked();
  running_ = started.has_value();
  if (running_) {
    follow();  // the default may have changed meanwhile
  } else {
    drop();
  }
  return started;
}

std::expected<void, Error> PulseEngine::startLocked() {
  if (!server_.waitForDevices(kMaxWait)) {
    return failure("the sound server cannot be reached; check that PulseAudio or PipeWire runs");
  }
  const auto source = server_.defaultSource();
  if (!source) return failure("there is no input device; choose one in the sound settings");
  if (!accepts_(source->device)) {
    return failure("\"" + source->device.name.value_or(source->device.id) +
                   "\" is not to be recorded; choose another input device in the sound settings");
  }
  chooseFormat(*source);
  record(*source);
  const auto state = [this] {
    return stream_ ? ::pa_stream_get_state(stream_.get()) : PA_STREAM_FAILED;
  };
  server_.connection().waitUntil(kMaxWait, [&] { return state() != PA_STREAM_CREATING; });
  if (state() == PA_STREAM_READY) return {};
  if (state() == PA_STREAM_CREATING) {
    return failure("the sound server does not answer; restart it, or try again");
  }
  return failure("the sound server refused to record: " + server_.connection().error());
}

void PulseEngine::chooseFormat(const PulseSource& source) {
  constexpr std::uint8_t kMaxChannels = 2;
  sampleSpec_ = {.format = PA_SAMPLE_FLOAT32NE,
                 .rate = source.device.format.sampleRate,
                 .channels = static_cast<std::uint8_t>(source.device.format.channels)};
  channelMap_ = source.channelMap;
  if (sampleSpec_.channels > kMaxChannels) {
    sampleSpec_.channels = kMaxChannels;
    ::pa_channel_map_init_stereo(&channelMap_);
  }
  if (!tap_) return;
  auto frames = wholeBlockFrames(sampleSpec_.rate, tap_->wireFrames, wire::kSampleRate);
  if (!frames) {
    sampleSpec_.rate = kFallbackRate;
    frames = wholeBlockFrames(sampleSpec_.rate, tap_->wireFrames, wire::kSampleRate);
  }
  tap_->reblocker.emplace(frames.value_or(tap_->wireFrames) * sampleSpec_.channels);
}

void PulseEngine::record(const PulseSource& source) {
  recorded_ = source.device.id;
  stream_.reset(
      ::pa_stream_new(server_.connection().ready(), "Capture", &sampleSpec_, &channelMap_));
  if (!stream_) return;
  ::pa_stream_set_state_callback(
      stream_.get(),
      [](pa_stream*, void* self) { static_cast<PulseEngine*>(self)->streamStateChanged(); }, this);
  ::pa_stream_set_read_callback(
      stream_.get(),
      [](pa_stream*, std::size_t readable, void* self) {
        static_cast<PulseEngine*>(self)->readAvailable(readable);
      },
      this);

  const auto fragment = server_.defaultDevices().server.contains("PipeWire")
                            ? kPipeWireFragmentMicroseconds
                            : kFragmentMicroseconds;
  constexpr auto kServersChoice = static_cast<std::uint32_t>(-1);
  const pa_buffer_attr buffer{
      .maxlength = kServersChoice,
      .tlength = kServersChoice,
      .prebuf = kServersChoice,
      .minreq = kServersChoice,
      .fragsize = static_cast<std::uint32_t>(::pa_usec_to_bytes(fragment, &sampleSpec_))};
  // By name and unmovable: without a name a mixer can point it at the microphone, and the server
  // remembers that for the next start.
  constexpr auto kFlags =
      static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | PA_STREAM_DONT_MOVE);
  ::pa_stream_connect_record(stream_.get(), recorded_.c_str(), &buffer, kFlags);
}

void PulseEngine::drop() {
  retryTimer_.reset();
  stream_.reset();
  recorded_.clear();
  if (tap_ && tap_->reblocker) tap_->reblocker->clear();
}

void PulseEngine::follow() {
  if (!running_) return;
  const auto& source = server_.defaultSource();
  const bool accepted = source && accepts_(source->device);
  const bool records = stream_ && PA_STREAM_IS_GOOD(::pa_stream_get_state(stream_.get()));
  if (records && accepted && source->device.id == recorded_) return;
  drop();
  if (accepted) record(*source);
}

void PulseEngine::stop() {
  const PulseConnection::Lock lock(server_.connection());
  running_ = false;
  drop();
}

void PulseEngine::streamStateChanged() {
  auto& connection = server_.connection();
  connection.changed();
  const auto state = ::pa_stream_get_state(stream_.get());
  if (state == PA_STREAM_READY) {
    // Never read the sound of any other device.
    if (::pa_stream_get_device_name(stream_.get()) != recorded_) {
      ::pa_stream_set_read_callback(stream_.get(), nullptr, nullptr);
      ::pa_stream_disconnect(stream_.get());
      return;
    }
    server_.noteRecordingAccess(RecordingAccess::kGranted);
  } else if (!PA_STREAM_IS_GOOD(state)) {
    const auto* const context = ::pa_stream_get_context(stream_.get());
    if (::pa_context_errno(context) == PA_ERR_ACCESS) {
      server_.noteRecordingAccess(RecordingAccess::kRefused);
    }
    if (!running_) return;
    retryTimer_ = connection.callAfter(
        kRetryDelay,
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
          static_cast<PulseEngine*>(self)->follow();
        },
        this);
  }
}

void PulseEngine::readAvailable(std::size_t readable) {
  // Dropping a fragment wakes the server, so read only when a block is complete.
  if (tap_ && tap_->reblocker && readable < tap_->reblocker->missing() * sizeof(float)) return;
  const Format format{.sampleRate = sampleSpec_.rate, .channels = sampleSpec_.channels};
  const auto deliver = [&](std::span<const float> block) {
    tap_->handler({.samples = block, .format = format});
  };
  while (readable > 0) {
    const void* data = nullptr;
    std::size_t bytes = 0;
    if (::pa_stream_peek(stream_.get(), &data, &bytes) < 0 || bytes == 0) return;
    readable -= std::min(readable, bytes);
    if (tap_ && tap_->reblocker) {
      const auto count = bytes / sizeof(float);
      if (data == nullptr) {
        tap_->reblocker->pushSilence(count, deliver);  // the server lost this much
      } else {
        tap_->reblocker->push({static_cast<const float*>(data), count}, deliver);
      }
    }
    ::pa_stream_drop(stream_.get());
  }
}

}  // namespace quorin::audio
