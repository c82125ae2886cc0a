#include "platform/audio/pulse_server.h"

#include "core/log.h"
#include "platform/audio/pulse_engine.h"
#include "platform/dispatch/realtime.h"

#include <string>
#include <utility>

namespace quorin::audio {

PulseServer::PulseServer(dispatch::Queue& backgroundQueue)
    : devices_([this](const DefaultDevices& devices) { publishDevices(devices); }),
      connection_({.onThread = [&backgroundQueue] { dispatch::requestRealtime(backgroundQueue); },
                   .connected =
                       [this](pa_context* context) {
                         missing_ = false;
                         devices_.connected(context);
                       },
                   .disconnected = [this](int error) { disconnected(error); }}) {}

DefaultDevices PulseServer::defaultDevices() const {
  const dispatch::Lock lock(mutex_);
  return state_.devices;
}

RecordingAccess PulseServer::recordingAccess() const {
  const dispatch::Lock lock(mutex_);
  return state_.access;
}

void PulseServer::setChangeHandler(dispatch::Queue& queue, dispatch::Task handler) {
  auto source = queue.makeEventSource(std::move(handler));
  const dispatch::Lock lock(mutex_);
  changeSource_.swap(source);
  if (state_ != State()) changeSource_->signal();  // report changes from before the handler
}

std::unique_ptr<AudioEngine> PulseServer::makeEngine(SourceTest accepts) {
  return std::make_unique<PulseEngine>(*this, std::move(accepts));
}

bool PulseServer::waitForDevices(std::chrono::milliseconds limit) {
  connection_.retryNow();
  connection_.waitUntil(limit, [this] {
    return devices_.areKnown() || (connection_.ready() == nullptr && !connection_.isConnecting());
  });
  return devices_.areKnown();
}

void PulseServer::noteRecordingAccess(RecordingAccess access) {
  publish([access](State& state) { state.access = access; });
}

void PulseServer::disconnected(int error) {
  if (!std::exchange(missing_, true)) {
    log::note("audio",
              error == PA_ERR_ACCESS
                  ? "the sound server refuses this program: give its sandbox access to the server"
                  : std::string("no sound server (") + ::pa_strerror(error) +
                        "): start PulseAudio or PipeWire; it is looked for until it is there");
  }
  // A refusal stays until a server grants access; without a server, access is unknown.
  noteRecordingAccess(error == PA_ERR_ACCESS ? RecordingAccess::kRefused
                                             : RecordingAccess::kUnknown);
  devices_.disconnected();
}

void PulseServer::publishDevices(const DefaultDevices& devices) {
  publish([&devices](State& state) { state.devices = devices; });
  for (auto* engine : engines_) engine->follow();
  connection_.changed();
}

template <typename Change>
void PulseServer::publish(Change change) {
  const dispatch::Lock lock(mutex_);
  const auto before = state_;
  change(state_);
  if (changeSource_ && state_ != before) changeSource_->signal();
}

std::unique_ptr<AudioServer> connectToAudioServer(dispatch::Queue& backgroundQueue) {
  return std::make_unique<PulseServer>(backgroundQueue);
}

}  // namespace quorin::audio
