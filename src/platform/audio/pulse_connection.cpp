#include "platform/audio/pulse_connection.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace quorin::audio {
namespace {

using namespace std::chrono_literals;

constexpr auto kFirstBackoff = 250ms;
constexpr auto kMaxBackoff = 4s;

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

PulseConnection::PulseConnection(Options options)
    : options_(std::move(options)),
      loop_(::pa_threaded_mainloop_new()),
      backoff_(kFirstBackoff),
      retryTimer_(nullptr, FreeTimer{loop_.get()}) {
  ::pa_threaded_mainloop_set_name(loop_.get(), "quorin-audio");
  if (options_.onThread) {
    ::pa_mainloop_api_once(
        ::pa_threaded_mainloop_get_api(loop_.get()),
        [](pa_mainloop_api*, void* self) {
          static_cast<PulseConnection*>(self)->options_.onThread();
        },
        this);
  }
  connect();
  ::pa_threaded_mainloop_start(loop_.get());
}

PulseConnection::~PulseConnection() {
  {
    const Lock lock(*this);
    retryTimer_.reset();
    context_.reset();
  }
  ::pa_threaded_mainloop_stop(loop_.get());
}

void PulseConnection::connect() {
  phase_ = Phase::kConnecting;
  const std::unique_ptr<pa_proplist, FreeProplist> properties(::pa_proplist_new());
  ::pa_proplist_sets(properties.get(), PA_PROP_APPLICATION_NAME, options_.applicationName);
  ::pa_proplist_sets(properties.get(), PA_PROP_APPLICATION_ICON_NAME, "quorin-stream");
  context_.reset(::pa_context_new_with_proplist(::pa_threaded_mainloop_get_api(loop_.get()),
                                                nullptr, properties.get()));
  assert(context_);
  ::pa_context_set_state_callback(
      context_.get(),
      [](pa_context*, void* self) { static_cast<PulseConnection*>(self)->contextStateChanged(); },
      this);
  // No autospawn: it would start an unwanted audio server every few seconds.
  if (::pa_context_connect(context_.get(), nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) lost();
}

void PulseConnection::contextStateChanged() {
  switch (::pa_context_get_state(context_.get())) {
    case PA_CONTEXT_READY:
      phase_ = Phase::kReady;
      backoff_ = kFirstBackoff;
      if (options_.connected) options_.connected(context_.get());
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
  if (phase_ == Phase::kLost) return;  // a failure may be reported twice
  phase_ = Phase::kLost;
  if (options_.disconnected) options_.disconnected(::pa_context_errno(context_.get()));
  if (options_.reconnect) {
    retryTimer_ = callAfter(
        backoff_,
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
          static_cast<PulseConnection*>(self)->retryNow();
        },
        this);
    backoff_ = std::min<std::chrono::milliseconds>(2 * backoff_, kMaxBackoff);
  }
  changed();
}

void PulseConnection::retryNow() {
  if (phase_ != Phase::kLost || !options_.reconnect) return;
  retryTimer_.reset();
  connect();
}

bool PulseConnection::waitUntilReady(std::chrono::milliseconds limit) {
  waitUntil(limit, [this] { return !isConnecting(); });
  return ready() != nullptr;
}

bool PulseConnection::waitUntil(std::chrono::milliseconds limit,
                                const std::function<bool()>& condition) {
  struct Deadline {
    PulseConnection* connection;
    bool passed = false;
  } deadline{this};
  const auto timer = callAfter(
      limit,
      [](pa_mainloop_api*, pa_time_event*, const timeval*, void* data) {
        auto* passing = static_cast<Deadline*>(data);
        passing->passed = true;
        passing->connection->changed();
      },
      &deadline);
  while (!condition() && !deadline.passed) ::pa_threaded_mainloop_wait(loop_.get());
  return condition();
}

PulseConnection::Outcome PulseConnection::run(pa_operation* operation,
                                              std::chrono::milliseconds limit) {
  if (operation == nullptr) return Outcome::kFailed;
  const auto state = [operation] { return ::pa_operation_get_state(operation); };
  ::pa_operation_set_state_callback(
      operation, [](pa_operation*, void* self) { static_cast<PulseConnection*>(self)->changed(); },
      this);
  waitUntil(limit, [&] { return state() != PA_OPERATION_RUNNING; });
  const auto outcome = state() == PA_OPERATION_DONE      ? Outcome::kDone
                       : state() == PA_OPERATION_RUNNING ? Outcome::kTimeout
                                                         : Outcome::kFailed;
  ::pa_operation_set_state_callback(operation, nullptr, nullptr);
  ::pa_operation_cancel(operation);
  ::pa_operation_unref(operation);
  return outcome;
}

PulseConnection::Timer PulseConnection::callAfter(std::chrono::milliseconds delay,
                                                  pa_time_event_cb_t callback, void* data) {
  const auto due =
      ::pa_rtclock_now() + static_cast<pa_usec_t>(std::chrono::microseconds(delay).count());
  return {::pa_context_rttime_new(context_.get(), due, callback, data), FreeTimer{loop_.get()}};
}

}  // namespace quorin::audio
