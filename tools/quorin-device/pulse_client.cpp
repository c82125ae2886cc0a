#include "quorin-device/pulse_client.h"

#include <sys/eventfd.h>

#include <thread>
#include <utility>

namespace quorin::device {

using namespace std::chrono_literals;
using audio::PulseConnection;

namespace {

constexpr auto kTimeout = 5s;
constexpr auto kLookAgain = 10ms;

std::string textOf(const char* text) {
  return text != nullptr ? text : "";
}

template <typename Info>
Endpoint endpointOf(const Info& info) {
  return {.index = info.index,
          .name = textOf(info.name),
          .description = textOf(info.description),
          .muted = info.mute != 0,
          .volumeIsZero = pa_cvolume_is_muted(&info.volume) != 0,
          .channels = info.volume.channels};
}

Endpoint sourceOf(const pa_source_info& info) {
  auto source = endpointOf(info);
  source.isSource = true;
  source.isMonitor = info.monitor_of_sink != PA_INVALID_INDEX;
  return source;
}

Playback playbackOf(const pa_sink_input_info& info) {
  const char* const program = pa_proplist_gets(info.proplist, PA_PROP_APPLICATION_NAME);
  return {.index = info.index,
          .sink = info.sink,
          .program = textOf(program != nullptr ? program : info.name),
          .paused = info.corked != 0,
          .isLoopback = pa_proplist_contains(info.proplist, kLoopbackMark) == 1};
}

Module moduleOf(const pa_module_info& info) {
  return {.index = info.index, .name = textOf(info.name), .argument = textOf(info.argument)};
}

}  // namespace

PulseClient::PulseClient()
    : changes_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      pulse_({.applicationName = "quorin-device",
              .reconnect = false,
              .connected = [this](pa_context* context) { subscribe(context); },
              .disconnected =
                  [this](int error) {
                    failure_ = error;
                    noteChange();
                  }}) {
  const PulseConnection::Lock lock(pulse_);
  if (pulse_.waitUntilReady(kTimeout)) return;
  if (failure_ == PA_ERR_ACCESS) {
    throw Error(
        "The sound server does not let this program in. Start it outside of its sandbox, or give "
        "the sandbox access to the sound server.",
        Error::Cause::kRefused);
  }
  throw Error("No sound server can be reached (" +
                  textOf(pa_strerror(failure_ == PA_OK ? PA_ERR_TIMEOUT : failure_)) +
                  "). Start PulseAudio or PipeWire with pipewire-pulse, as the user who is logged "
                  "in, and try again.",
              Error::Cause::kNoServer);
}

void PulseClient::subscribe(pa_context* context) {
  constexpr auto kMask = static_cast<pa_subscription_mask_t>(
      PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE |
      PA_SUBSCRIPTION_MASK_SINK_INPUT);
  pa_context_set_subscribe_callback(
      context,
      [](pa_context*, pa_subscription_event_type_t, std::uint32_t, void* self) {
        static_cast<PulseClient*>(self)->noteChange();
      },
      this);
  pa_operation_unref(pa_context_subscribe(context, kMask, nullptr, nullptr));
}

void PulseClient::noteChange() {
  ::eventfd_write(changes_.get(), 1);
}

/// Waits for the end of the operation that `begin` gives.
void PulseClient::run(const std::function<pa_operation*(pa_context*)>& begin) {
  const PulseConnection::Lock lock(pulse_);
  pa_context* const context = pulse_.ready();
  if (context != nullptr &&
      pulse_.run(begin(context), kTimeout) == PulseConnection::Outcome::kDone) {
    return;
  }
  throw Error(
      "The sound server does not answer any more. Log out and in again, or restart the sound "
      "server.",
      Error::Cause::kNoServer);
}

/// A request that is answered with success or failure: `ask` is libpulse's function, and
/// `arguments` what it takes between the context and the callback.
template <typename Ask, typename... Arguments>
bool PulseClient::request(Ask ask, Arguments... arguments) {
  bool success = false;
  const pa_context_success_cb_t take = [](pa_context*, int answer, void* into) {
    *static_cast<bool*>(into) = answer != 0;
  };
  run([&](pa_context* context) { return ask(context, arguments..., take, &success); });
  return success;
}

template <typename Info, typename Item>
std::vector<Item> PulseClient::list(List<Info> ask, Item (*convert)(const Info&)) {
  struct Into {
    Item (*convert)(const Info&);
    std::vector<Item> items;
  } into{convert, {}};
  const auto take = [](pa_context*, const Info* info, int end, void* data) {
    auto& [toItem, items] = *static_cast<Into*>(data);
    if (end == 0 && info != nullptr) items.push_back(toItem(*info));
  };
  run([&](pa_context* context) { return ask(context, take, &into); });
  return std::move(into.items);
}

Snapshot PulseClient::look() {
  eventfd_t count = 0;
  ::eventfd_read(changes_.get(), &count);
  Snapshot result;
  const auto take = [](pa_context*, const pa_server_info* info, void* into) {
    if (info == nullptr) return;
    auto& snapshot = *static_cast<Snapshot*>(into);
    snapshot.server = textOf(info->server_name);
    snapshot.defaultSink = textOf(info->default_sink_name);
    snapshot.defaultSource = textOf(info->default_source_name);
  };
  run([&](pa_context* context) { return pa_context_get_server_info(context, take, &result); });
  result.sinks = list(pa_context_get_sink_info_list, endpointOf<pa_sink_info>);
  result.sources = list(pa_context_get_source_info_list, sourceOf);
  result.playbacks = list(pa_context_get_sink_input_info_list, playbackOf);
  result.modules = list(pa_context_get_module_info_list, moduleOf);
  return result;
}

std::optional<std::uint32_t> PulseClient::load(const Module& module) {
  std::uint32_t loaded = PA_INVALID_INDEX;
  const auto take = [](pa_context*, std::uint32_t index, void* into) {
    *static_cast<std::uint32_t*>(into) = index;
  };
  run([&](pa_context* context) {
    return pa_context_load_module(context, module.name.c_str(), module.argument.c_str(), take,
                                  &loaded);
  });
  return loaded != PA_INVALID_INDEX ? std::optional(loaded) : std::nullopt;
}

bool PulseClient::unload(std::uint32_t module) {
  return request(pa_context_unload_module, module);
}

bool PulseClient::makeDefault(const Endpoint& endpoint) {
  return request(endpoint.isSource ? pa_context_set_default_source : pa_context_set_default_sink,
                 endpoint.name.c_str());
}

bool PulseClient::move(const Playback& playback, const Endpoint& sink) {
  return request(pa_context_move_sink_input_by_index, playback.index, sink.index);
}

bool PulseClient::unmute(const Endpoint& endpoint) {
  const bool source = endpoint.isSource;
  if (!request(source ? pa_context_set_source_mute_by_index : pa_context_set_sink_mute_by_index,
               endpoint.index, 0)) {
    return false;
  }
  if (!endpoint.volumeIsZero) return true;
  pa_cvolume full;
  pa_cvolume_set(&full, endpoint.channels, PA_VOLUME_NORM);
  return request(
      source ? pa_context_set_source_volume_by_index : pa_context_set_sink_volume_by_index,
      endpoint.index, &full);
}

Error PulseClient::refusal(const std::string& doing) {
  const PulseConnection::Lock lock(pulse_);
  pa_context* const context = pulse_.ready();
  const int error = context != nullptr ? pa_context_errno(context) : PA_OK;
  const auto text = "The sound server would not " + doing + " (" + pulse_.error() + "). ";
  // PulseAudio calls it so when it is forbidden to load modules.
  if (error != PA_ERR_ACCESS && error != PA_ERR_MODINITFAILED) {
    return Error(text + "Restart the sound server and try again.");
  }
  return Error(text +
                   "A sandbox or the server's settings (allow-module-loading) forbid it: try it "
                   "outside of the sandbox, or allow it.",
               Error::Cause::kRefused);
}

bool PulseClient::waitUntil(const std::function<bool(const Snapshot&)>& condition,
                            std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!condition(look())) {
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(kLookAgain);
  }
  return true;
}

}  // namespace quorin::device
