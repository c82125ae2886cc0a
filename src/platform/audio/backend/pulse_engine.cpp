#include "platform/audio/backend/pulse_engine.h"

#include "platform/audio/backend/pulse_server.h"
#include "wire/audio_chunk.h"

#include <algorithm>
#include <cassert>
#include <chrono>
#include <memory>
#include <utility>

namespace quorin::audio {
namespace {

using namespace std::chrono_literals;

constexpr auto kLongestWait = 500ms;

/// Together with PA_STREAM_ADJUST_LATENCY, the most that the server delivers at a time; without
/// either, PulseAudio delivers up to 2 s at once. PipeWire fits its own step to it: a whole block
/// of 20 ms would wake less often and cost 13 ms of latency.
constexpr pa_usec_t kFragmentMicroseconds = 10'000;

/// For an input whose rate has no whole block; every server can convert to it.
constexpr unsigned kFallbackRate = 48000;

struct ReleaseContext {
  void operator()(pa_context* context) const { ::pa_context_unref(context); }
};

std::unexpected<Error> failure(std::string description) {
  return std::unexpected(Error{std::move(description)});
}

}  // namespace

void PulseEngine::DropStream::operator()(pa_stream* stream) const {
  ::pa_stream_set_state_callback(stream, nullptr, nullptr);
  ::pa_stream_set_read_callback(stream, nullptr, nullptr);
  if (::pa_stream_get_state(stream) == PA_STREAM_CREATING) {
    // It cannot be disconnected yet, and would record for ever once the server answers; until
    // then the context keeps it.
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

PulseEngine::~PulseEngine() {
  stop();
  removeTap();
}

Format PulseEngine::inputFormat() {
  const PulseConnection::Lock lock(server_.connection());
  if (!server_.waitForDevices(kLongestWait) || !server_.defaultSource()) return {};
  const auto& spec = server_.defaultSource()->sampleSpec;
  return {.sampleRate = spec.rate, .channels = spec.channels};
}

void PulseEngine::installTap(std::size_t frames, TapHandler handler, NeededAt neededAt) {
  const PulseConnection::Lock lock(server_.connection());
  assert(!tap_ && !stream_);
  tap_.emplace(frames, std::move(handler), std::move(neededAt), Format{}, std::nullopt);
}

void PulseEngine::removeTap() {
  const PulseConnection::Lock lock(server_.connection());
  tap_.reset();
}

std::expected<void, Error> PulseEngine::start() {
  const PulseConnection::Lock lock(server_.connection());
  if (running_) return {};
  auto started = startLocked();
  setRunning(started.has_value());
  if (!running_) stream_.reset();
  return started;
}

std::expected<void, Error> PulseEngine::startLocked() {
  if (!server_.waitForDevices(kLongestWait)) {
    return failure("the audio server cannot be reached; check that PulseAudio or PipeWire runs");
  }
  if (!server_.defaultSource()) {
    return failure("there is no input device; choose one in the sound settings");
  }
  auto [sampleSpec, channelMap] = *server_.defaultSource();
  sampleSpec.format = PA_SAMPLE_FLOAT32NE;
  if (tap_) {
    auto frames = wholeBlockFrames(sampleSpec.rate, tap_->wireFrames, wire::kSampleRate);
    if (!frames) {
      sampleSpec.rate = kFallbackRate;
      frames = wholeBlockFrames(sampleSpec.rate, tap_->wireFrames, wire::kSampleRate);
    }
    tap_->format = {.sampleRate = sampleSpec.rate, .channels = sampleSpec.channels};
    tap_->reblocker.emplace(frames.value_or(tap_->wireFrames) * sampleSpec.channels);
  }
  return connectStream(sampleSpec, channelMap);
}

std::expected<void, Error> PulseEngine::connectStream(const pa_sample_spec& sampleSpec,
                                                      const pa_channel_map& channelMap) {
  // Of its own: while this waits, the connection may be given up for a new one.
  const std::unique_ptr<pa_context, ReleaseContext> context(
      ::pa_context_ref(server_.connection().ready()));
  stream_.reset(::pa_stream_new(context.get(), "Capture", &sampleSpec, &channelMap));
  if (!stream_) return failure(::pa_strerror(::pa_context_errno(context.get())));
  ::pa_stream_set_state_callback(
      stream_.get(),
      [](pa_stream*, void* self) { static_cast<PulseEngine*>(self)->streamStateChanged(); }, this);
  ::pa_stream_set_read_callback(
      stream_.get(),
      [](pa_stream*, std::size_t readable, void* self) {
        static_cast<PulseEngine*>(self)->readAvailable(readable);
      },
      this);

  constexpr auto kServersChoice = static_cast<std::uint32_t>(-1);
  const pa_buffer_attr buffer{.maxlength = kServersChoice,
                              .tlength = kServersChoice,
                              .prebuf = kServersChoice,
                              .minreq = kServersChoice,
                              .fragsize = static_cast<std::uint32_t>(
                                  ::pa_usec_to_bytes(kFragmentMicroseconds, &sampleSpec))};
  // No device name: the stream then follows the default source. "@DEFAULT_MONITOR@" would not do,
  // PipeWire records the microphone for it.
  ::pa_stream_connect_record(stream_.get(), nullptr, &buffer, PA_STREAM_ADJUST_LATENCY);
  const auto state = [this] { return ::pa_stream_get_state(stream_.get()); };
  server_.connection().waitUntil(kLongestWait, [&] { return state() != PA_STREAM_CREATING; });

  if (state() == PA_STREAM_READY) {
    server_.noteRecordingAccess(RecordingAccess::kGranted);
    return {};
  }
  if (state() == PA_STREAM_CREATING) {
    return failure("the audio server does not answer; restart it, or try again");
  }
  const int error = ::pa_context_errno(context.get());
  if (error == PA_ERR_ACCESS) server_.noteRecordingAccess(RecordingAccess::kRefused);
  return failure(std::string("the audio server refused to record: ") + ::pa_strerror(error));
}

void PulseEngine::stop() {
  const PulseConnection::Lock lock(server_.connection());
  stream_.reset();
  setRunning(false);
  const dispatch::Lock reporting(mutex_);
  interruption_.reset();
}

void PulseEngine::reset() {
  const PulseConnection::Lock lock(server_.connection());
  if (tap_ && tap_->reblocker) tap_->reblocker->clear();
}

void PulseEngine::setInterruptionHandler(dispatch::Queue& queue, InterruptionHandler handler) {
  const PulseConnection::Lock lock(server_.connection());
  interruptionSource_ = queue.makeEventSource([this, handler = std::move(handler)]() mutable {
    std::optional<Error> interruption;
    {
      const dispatch::Lock reporting(mutex_);
      interruption.swap(interruption_);
    }
    if (interruption) handler(*interruption);
  });
}

void PulseEngine::setRunning(bool running) {
  if (std::exchange(running_, running) != running) server_.noteRecording(running);
}

void PulseEngine::streamStateChanged() {
  server_.connection().changed();
  const auto state = ::pa_stream_get_state(stream_.get());
  const bool ended = state == PA_STREAM_FAILED || state == PA_STREAM_TERMINATED;
  if (!running_ || !ended) return;
  setRunning(false);
  {
    const dispatch::Lock reporting(mutex_);
    interruption_ =
        Error{::pa_strerror(::pa_context_errno(::pa_stream_get_context(stream_.get())))};
  }
  if (interruptionSource_) interruptionSource_->signal();
}

void PulseEngine::readAvailable(std::size_t readable) {
  // To give a fragment back wakes the server, and none is of use before its block is whole.
  if (tap_ && tap_->reblocker && readable < tap_->reblocker->missing() * sizeof(float)) return;
  bool delivered = false;
  const auto deliver = [&](std::span<const float> block) {
    tap_->handler({.samples = block, .format = tap_->format});
    delivered = true;
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
  if (delivered && tap_->neededAt) server_.wantNothingUntil(tap_->neededAt());
}

}  // namespace quorin::audio
