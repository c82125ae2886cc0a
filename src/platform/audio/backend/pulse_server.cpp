#include "platform/audio/backend/pulse_server.h"

#include "platform/audio/backend/pulse_engine.h"
#include "platform/dispatch/realtime.h"

#include <unistd.h>

namespace quorin::audio {

PulseServer::PulseServer(dispatch::Queue& utilityQueue)
    : devices_([this](const DefaultDevices& devices) { publishDevices(devices); }),
      connection_(*this, [&utilityQueue] {
        // A late capture thread is a late chunk; rtkit may keep one waiting, hence elsewhere.
        if (dispatch::takeRealtime()) return;
        utilityQueue.async([thread = ::gettid()] { dispatch::takeRealtimeThroughRtkit(thread); });
      }) {}

DefaultDevices PulseServer::defaultDevices() const {
  const dispatch::Lock lock(mutex_);
  return news_.devices;
}

RecordingAccess PulseServer::recordingAccess() const {
  const dispatch::Lock lock(mutex_);
  return news_.access;
}

void PulseServer::setChangeHandler(dispatch::Queue& queue, dispatch::Task handler) {
  auto source = queue.makeEventSource(std::move(handler));
  {
    const dispatch::Lock lock(mutex_);
    changeSource_.swap(source);
    if (changeSource_ && news_ != News()) changeSource_->signal();  // what came before the handler
  }
}

std::unique_ptr<AudioEngine> PulseServer::makeEngine() {
  return std::make_unique<PulseEngine>(*this);
}

bool PulseServer::waitForDevices(std::chrono::milliseconds limit) {
  connection_.retryNow();
  connection_.waitUntil(limit, [this] {
    return devices_.areKnown() || (connection_.ready() == nullptr && !connection_.isConnecting());
  });
  return devices_.areKnown();
}

void PulseServer::noteRecordingAccess(RecordingAccess access) {
  publish([access](News& news) { news.access = access; });
}

void PulseServer::connected(pa_context* context) {
  devices_.connected(context);
}

void PulseServer::disconnected(int error) {
  // A refusal holds until a server says otherwise; with no server there is nothing to say.
  noteRecordingAccess(error == PA_ERR_ACCESS ? RecordingAccess::kRefused
                                             : RecordingAccess::kUnknown);
  devices_.disconnected();
}

void PulseServer::publishDevices(const DefaultDevices& devices) {
  publish([&devices](News& news) { news.devices = devices; });
  connection_.changed();
}

template <typename Change>
void PulseServer::publish(Change change) {
  const dispatch::Lock lock(mutex_);
  const auto before = news_;
  change(news_);
  if (changeSource_ && news_ != before) changeSource_->signal();
}

}  // namespace quorin::audio
