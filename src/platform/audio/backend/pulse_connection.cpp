#include "platform/audio/backend/pulse_connection.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace quorin::audio {
namespace {

using namespace std::chrono_literals;

constexpr auto kFirstBackoff = 250ms;
constexpr auto kLongestBackoff = 4s;

struct FreeProplist {
  void operator()(pa_proplist* list) const { ::pa_proplist_free(list); }
};

}  // namespace

void PulseConnection::DropContext::operator()(pa_context* context) const {
  ::pa_context_set_state_callback(context, nullptr, nullptr);
  ::pa_context_set_subscribe_callback(context, nullptr, nullptr);
  ::pa_context_disconnect(context);
  ::pa_context_unref(context);
}

PulseConnection::PulseConnection(PulseConnectionListener& listener, std::function<void()> onThread)
    : listener_(listener), loop_("quorin-audio", std::move(onThread)), backoff_(kFirstBackoff) {
  connect();
  loop_.start();
}

PulseConnection::~PulseConnection() {
  {
    const Lock lock(*this);
    cancel(std::exchange(retryTimer_, nullptr));
    context_.reset();
  }
  loop_.stop();
}

void PulseConnection::connect() {
  phase_ = Phase::kConnecting;
  const std::unique_ptr<pa_proplist, FreeProplist> properties(::pa_proplist_new());
  ::pa_proplist_sets(properties.get(), PA_PROP_APPLICATION_NAME, "Quorin Stream");
  ::pa_proplist_sets(properties.get(), PA_PROP_APPLICATION_ICON_NAME, "quorin-stream");
  context_.reset(::pa_context_new_with_proplist(loop_.api(), nullptr, properties.get()));
  assert(context_);
  ::pa_context_set_state_callback(
      context_.get(),
      [](pa_context*, void* self) { static_cast<PulseConnection*>(self)->contextStateChanged(); },
      this);
  // No autospawn: whoever runs without an audio server would get one started every few seconds.
  if (::pa_context_connect(context_.get(), nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) lost();
}

void PulseConnection::contextStateChanged() {
  switch (::pa_context_get_state(context_.get())) {
    case PA_CONTEXT_READY:
      phase_ = Phase::kReady;
      backoff_ = kFirstBackoff;
      listener_.connected(context_.get());
      changed();
      break;
    case PA_CONTEXT_FAILED:
    case PA_CONTEXT_TERMINATED:
      lost();
      break;
    default:
      break;
  }
}

void PulseConnection::lost() {
  if (phase_ == Phase::kWaiting) return;  // a failure may be told twice
  phase_ = Phase::kWaiting;
  listener_.disconnected(::pa_context_errno(context_.get()));
  retryTimer_ = loop_.callAfter(
      backoff_,
      [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
        static_cast<PulseConnection*>(self)->retryNow();
      },
      this);
  backoff_ = std::min<std::chrono::milliseconds>(2 * backoff_, kLongestBackoff);
  changed();
}

void PulseConnection::retryNow() {
  if (phase_ != Phase::kWaiting) return;
  cancel(std::exchange(retryTimer_, nullptr));
  connect();
}

bool PulseConnection::waitUntil(std::chrono::milliseconds limit,
                                const std::function<bool()>& condition) {
  struct Deadline {
    PulseConnection* connection;
    bool passed = false;
  } deadline{this};
  auto* timer = loop_.callAfter(
      limit,
      [](pa_mainloop_api*, pa_time_event*, const timeval*, void* data) {
        auto* passing = static_cast<Deadline*>(data);
        passing->passed = true;
        passing->connection->changed();
      },
      &deadline);
  while (!condition() && !deadline.passed) loop_.wait();
  cancel(timer);
  return condition();
}

void PulseConnection::cancel(pa_time_event* event) {
  if (event != nullptr) loop_.api()->time_free(event);
}

}  // namespace quorin::audio
