#include "quorin-device/pulse_client.h"

#include <pulse/pulseaudio.h>

#include <utility>

namespace quorin::device {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr auto kTimeout = 5s;
constexpr auto kLookAgain = 10ms;

template <typename T>
struct Freed {
  void operator()(T* object) const;
};
template <>
void Freed<pa_mainloop>::operator()(pa_mainloop* object) const {
  pa_mainloop_free(object);
}
template <>
void Freed<pa_context>::operator()(pa_context* object) const {
  pa_context_disconnect(object);
  pa_context_unref(object);
}
template <>
void Freed<pa_operation>::operator()(pa_operation* object) const {
  pa_operation_cancel(object);
  pa_operation_unref(object);
}
template <typename T>
using Owned = std::unique_ptr<T, Freed<T>>;

std::string textOf(const char* text) {
  return text != nullptr ? text : "";
}

Endpoint endpointOf(const pa_sink_info& info) {
  return {.index = info.index,
          .name = textOf(info.name),
          .description = textOf(info.description),
          .muted = info.mute != 0 || pa_cvolume_is_muted(&info.volume) != 0};
}

Endpoint endpointOf(const pa_source_info& info) {
  return {.index = info.index,
          .name = textOf(info.name),
          .description = textOf(info.description),
          .isMonitor = info.monitor_of_sink != PA_INVALID_INDEX};
}

Playback playbackOf(const pa_sink_input_info& info) {
  const char* const program = pa_proplist_gets(info.proplist, PA_PROP_APPLICATION_NAME);
  return {.index = info.index,
          .sink = info.sink,
          .program = textOf(program != nullptr ? program : info.name),
          .paused = info.corked != 0,
          .isLoopback = pa_proplist_contains(info.proplist, kLoopbackMark) == 1};
}

LoadedModule moduleOf(const pa_module_info& info) {
  return {.index = info.index, .name = textOf(info.name), .argument = textOf(info.argument)};
}

void takeSuccess(pa_context* /*context*/, int success, void* result) {
  *static_cast<bool*>(result) = success != 0;
}

}  // namespace

struct PulseClient::Connection {
  Owned<pa_mainloop> loop{pa_mainloop_new()};
  Owned<pa_context> context{pa_context_new(pa_mainloop_get_api(loop.get()), "quorin-device")};
  bool changed = false;

  bool isLost() const { return !PA_CONTEXT_IS_GOOD(pa_context_get_state(context.get())); }

  /// Runs the conversation until `condition` holds; false when it does not before `end`.
  bool runUntil(const std::function<bool()>& condition, Clock::time_point end) const {
    while (!condition()) {
      const auto left =
          std::chrono::duration_cast<std::chrono::microseconds>(end - Clock::now()).count();
      if (left <= 0 || pa_mainloop_prepare(loop.get(), static_cast<int>(left)) < 0) return false;
      if (pa_mainloop_poll(loop.get()) < 0 || pa_mainloop_dispatch(loop.get()) < 0) return false;
    }
    return true;
  }

  Error error(const std::string& doing) const {
    const int code = pa_context_errno(context.get());
    return {.text = "The audio server would not " + doing + " (" + pa_strerror(code) + ").",
            .cause = isLost()                   ? Error::Cause::kNoServer
                     : code == PA_ERR_ACCESS ? Error::Cause::kRefused
                                             : Error::Cause::kOther};
  }

  /// Waits for the end of `operation`, which may be null for a connection that is lost.
  std::expected<void, Error> finish(pa_operation* operation, const std::string& doing) const {
    const Owned<pa_operation> owned(operation);
    if (!owned) return std::unexpected(error(doing));
    const auto ended = [&] { return pa_operation_get_state(operation) != PA_OPERATION_RUNNING; };
    if (!runUntil(ended, Clock::now() + kTimeout)) {
      return std::unexpected(
          Error{.text = "The audio server did not answer when asked to " + doing +
                        ". Log out and in again, or restart the audio server.",
                .cause = Error::Cause::kNoServer});
    }
    if (pa_operation_get_state(operation) != PA_OPERATION_DONE)
      return std::unexpected(error(doing));
    return {};
  }

  /// As `finish`, for requests that are answered with success or failure into `success`.
  std::expected<void, Error> finish(pa_operation* operation, const std::string& doing,
                                    const bool& success) const {
    auto finished = finish(operation, doing);
    if (finished && !success) return std::unexpected(error(doing));
    return finished;
  }

  /// Appends what `ask` lists to `items`.
  template <typename Info, typename Item>
  std::expected<void, Error> list(pa_operation* (*ask)(pa_context*,
                                                       void (*)(pa_context*, const Info*, int,
                                                                void*),
                                                       void*),
                                  Item (*convert)(const Info&), std::vector<Item>& items) const {
    struct Into {
      Item (*convert)(const Info&);
      std::vector<Item>& items;
    } into{convert, items};
    const auto take = [](pa_context* /*context*/, const Info* info, int end, void* data) {
      if (end != 0 || info == nullptr) return;
      auto& [toItem, list] = *static_cast<Into*>(data);
      list.push_back(toItem(*info));
    };
    return finish(ask(context.get(), take, &into), "describe its devices");
  }
};

PulseClient::PulseClient(std::unique_ptr<Connection> connection)
    : connection_(std::move(connection)) {}
PulseClient::~PulseClient() = default;
PulseClient::PulseClient(PulseClient&&) noexcept = default;
PulseClient& PulseClient::operator=(PulseClient&&) noexcept = default;

std::expected<PulseClient, Error> PulseClient::connect() {
  auto connection = std::make_unique<Connection>();
  pa_context* const context = connection->context.get();
  const auto settled = [context] {
    const auto state = pa_context_get_state(context);
    return state == PA_CONTEXT_READY || !PA_CONTEXT_IS_GOOD(state);
  };
  const bool answered = pa_context_connect(context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) >= 0 &&
                        connection->runUntil(settled, Clock::now() + kTimeout);
  if (answered && pa_context_get_state(context) == PA_CONTEXT_READY) {
    return PulseClient(std::move(connection));
  }
  const int code = pa_context_errno(context);
  if (answered && code == PA_ERR_ACCESS) {
    return std::unexpected(
        Error{.text = "The audio server does not let this program in. Start it outside of its "
                      "sandbox, or give the sandbox access to the audio server.",
              .cause = Error::Cause::kRefused});
  }
  return std::unexpected(
      Error{.text = "No audio server can be reached (" +
                    std::string(answered ? pa_strerror(code) : "no answer") +
                    "). Start PulseAudio or PipeWire with pipewire-pulse, as the user who is "
                    "logged in, and try again.",
            .cause = Error::Cause::kNoServer});
}

std::expected<Snapshot, Error> PulseClient::look() {
  Snapshot result;
  const auto takeServer = [](pa_context* /*context*/, const pa_server_info* info, void* into) {
    if (info == nullptr) return;
    auto& snapshot = *static_cast<Snapshot*>(into);
    snapshot.server = textOf(info->server_name);
    snapshot.defaultSink = textOf(info->default_sink_name);
    snapshot.defaultSource = textOf(info->default_source_name);
  };
  const auto& connection = *connection_;
  auto done = connection.finish(
      pa_context_get_server_info(connection.context.get(), takeServer, &result), "describe itself");
  if (done) done = connection.list(pa_context_get_sink_info_list, endpointOf, result.sinks);
  if (done) done = connection.list(pa_context_get_source_info_list, endpointOf, result.sources);
  if (done) {
    done = connection.list(pa_context_get_sink_input_info_list, playbackOf, result.playbacks);
  }
  if (done) done = connection.list(pa_context_get_module_info_list, moduleOf, result.modules);
  if (!done) return std::unexpected(done.error());
  return result;
}

std::expected<std::uint32_t, Error> PulseClient::loadModule(const std::string& name,
                                                            const std::string& argument) {
  std::uint32_t index = PA_INVALID_INDEX;
  const auto take = [](pa_context* /*context*/, std::uint32_t loaded, void* into) {
    *static_cast<std::uint32_t*>(into) = loaded;
  };
  auto* const operation = pa_context_load_module(connection_->context.get(), name.c_str(),
                                                 argument.c_str(), take, &index);
  const auto finished = connection_->finish(operation, "create the device");
  if (!finished) return std::unexpected(finished.error());
  if (index == PA_INVALID_INDEX) return std::unexpected(connection_->error("create the device"));
  return index;
}

std::expected<void, Error> PulseClient::unloadModule(std::uint32_t index) {
  bool success = false;
  auto* const operation =
      pa_context_unload_module(connection_->context.get(), index, takeSuccess, &success);
  return connection_->finish(operation, "remove the device", success);
}

std::expected<void, Error> PulseClient::setDefaultSink(const std::string& name) {
  bool success = false;
  auto* const operation =
      pa_context_set_default_sink(connection_->context.get(), name.c_str(), takeSuccess, &success);
  return connection_->finish(operation, "change the default output", success);
}

std::expected<void, Error> PulseClient::setDefaultSource(const std::string& name) {
  bool success = false;
  auto* const operation = pa_context_set_default_source(connection_->context.get(), name.c_str(),
                                                        takeSuccess, &success);
  return connection_->finish(operation, "change the default input", success);
}

std::expected<void, Error> PulseClient::move(std::uint32_t playback, std::uint32_t sink) {
  bool success = false;
  auto* const operation = pa_context_move_sink_input_by_index(connection_->context.get(), playback,
                                                              sink, takeSuccess, &success);
  return connection_->finish(operation, "move a program to another device", success);
}

std::expected<void, Error> PulseClient::unmute(const Endpoint& sink) {
  bool success = false;
  pa_context* const context = connection_->context.get();
  auto done = connection_->finish(
      pa_context_set_sink_mute_by_index(context, sink.index, 0, takeSuccess, &success),
      "unmute the device", success);
  if (!done) return done;
  const auto now = look();
  if (!now) return std::unexpected(now.error());
  for (const Endpoint& other : now->sinks) {
    if (other.index != sink.index || !other.muted) continue;
    pa_cvolume volume;
    pa_cvolume_set(&volume, 2, PA_VOLUME_NORM);
    done = connection_->finish(pa_context_set_sink_volume_by_index(context, sink.index, &volume,
                                                                   takeSuccess, &success),
                               "turn the device up", success);
  }
  return done;
}

bool PulseClient::waitUntil(const std::function<bool(const Snapshot&)>& condition,
                            std::chrono::milliseconds limit) {
  const auto end = Clock::now() + limit;
  for (;;) {
    const auto snapshot = look();
    if (!snapshot) return false;
    if (condition(*snapshot)) return true;
    if (Clock::now() >= end) return false;
    connection_->runUntil([] { return false; }, Clock::now() + kLookAgain);
  }
}

std::expected<void, Error> PulseClient::subscribe() {
  pa_context_set_subscribe_callback(
      connection_->context.get(),
      [](pa_context* /*context*/, pa_subscription_event_type_t /*type*/, std::uint32_t /*index*/,
         void* changed) { *static_cast<bool*>(changed) = true; },
      &connection_->changed);
  constexpr auto kMask = static_cast<pa_subscription_mask_t>(
      PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE |
      PA_SUBSCRIPTION_MASK_SINK_INPUT);
  bool success = false;
  return connection_->finish(
      pa_context_subscribe(connection_->context.get(), kMask, takeSuccess, &success),
      "report changes", success);
}

bool PulseClient::waitForChange(std::span<const int> descriptors) {
  bool readable = false;
  const auto noteReadable = [](pa_mainloop_api* /*api*/, pa_io_event* /*event*/, int /*descriptor*/,
                               pa_io_event_flags_t /*flags*/,
                               void* into) { *static_cast<bool*>(into) = true; };
  pa_mainloop_api* const api = pa_mainloop_get_api(connection_->loop.get());
  std::vector<pa_io_event*> events;
  for (const int descriptor : descriptors) {
    events.push_back(api->io_new(api, descriptor, PA_IO_EVENT_INPUT, noteReadable, &readable));
  }
  while (!connection_->isLost() && !connection_->changed && !readable) {
    if (pa_mainloop_iterate(connection_->loop.get(), 1, nullptr) < 0) break;
  }
  for (pa_io_event* const event : events) api->io_free(event);
  connection_->changed = false;
  return !connection_->isLost();
}

}  // namespace quorin::device
