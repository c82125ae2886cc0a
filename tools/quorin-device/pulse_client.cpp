#include "quorin-device/pulse_client.h"

#include <pulse/pulseaudio.h>

#include <utility>

namespace quorin::device {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr auto kPatience = 5s;

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

template <typename Info>
void takeDevice(pa_context* /*context*/, const Info* info, int endOfList, void* result) {
  if (endOfList != 0 || info == nullptr) return;
  auto& device = *static_cast<audio::Device*>(result);
  device.number = info->index + 1;
  if (const auto description = textOf(info->description); !description.empty()) {
    device.name = description;
  }
}

}  // namespace

struct PulseClient::Connection {
  Owned<pa_mainloop> loop{pa_mainloop_new()};
  Owned<pa_context> context{pa_context_new(pa_mainloop_get_api(loop.get()), "quorin-device")};

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
    return "The audio server would not " + doing + " (" +
           pa_strerror(pa_context_errno(context.get())) + ").";
  }

  /// Waits for the end of `operation`, which may be null for a connection that is lost.
  std::expected<void, Error> finish(pa_operation* operation, const std::string& doing) const {
    const Owned<pa_operation> owned(operation);
    if (!owned) return std::unexpected(error(doing));
    const auto ended = [&] { return pa_operation_get_state(operation) != PA_OPERATION_RUNNING; };
    if (!runUntil(ended, Clock::now() + kPatience)) {
      return std::unexpected("The audio server did not answer when asked to " + doing +
                             ". Log out and in again, or restart the audio server.");
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
};

namespace {

template <typename T>
std::expected<T, Error> resultOf(const std::expected<void, Error>& finished, T result) {
  if (!finished) return std::unexpected(finished.error());
  return result;
}

void takeSuccess(pa_context* /*context*/, int success, void* result) {
  *static_cast<bool*>(result) = success != 0;
}

}  // namespace

PulseClient::PulseClient(std::unique_ptr<Connection> connection)
    : connection_(std::move(connection)) {}
PulseClient::~PulseClient() = default;
PulseClient::PulseClient(PulseClient&&) noexcept = default;

std::expected<PulseClient, Error> PulseClient::connect() {
  auto connection = std::make_unique<Connection>();
  pa_context* const context = connection->context.get();
  const auto settled = [context] {
    const auto state = pa_context_get_state(context);
    return state == PA_CONTEXT_READY || !PA_CONTEXT_IS_GOOD(state);
  };
  const bool answered = pa_context_connect(context, nullptr, PA_CONTEXT_NOFLAGS, nullptr) >= 0 &&
                        connection->runUntil(settled, Clock::now() + kPatience);
  if (!answered || pa_context_get_state(context) != PA_CONTEXT_READY) {
    const std::string why = answered ? pa_strerror(pa_context_errno(context)) : "no answer";
    return std::unexpected("No audio server can be reached (" + why +
                           "). Start PulseAudio or PipeWire with pipewire-pulse, as the person "
                           "who is logged in, and try again.");
  }
  return PulseClient(std::move(connection));
}

std::expected<ServerInfo, Error> PulseClient::serverInfo() {
  ServerInfo result;
  const auto take = [](pa_context* /*context*/, const pa_server_info* info, void* into) {
    if (info == nullptr) return;
    *static_cast<ServerInfo*>(into) = {.name = textOf(info->server_name),
                                       .defaultSink = textOf(info->default_sink_name),
                                       .defaultSource = textOf(info->default_source_name)};
  };
  const auto finished = connection_->finish(
      pa_context_get_server_info(connection_->context.get(), take, &result), "describe itself");
  return resultOf(finished, std::move(result));
}

std::expected<audio::Device, Error> PulseClient::sink(const std::string& name) {
  if (name.empty()) return audio::Device{};
  audio::Device result;
  const auto finished =
      connection_->finish(pa_context_get_sink_info_by_name(connection_->context.get(), name.c_str(),
                                                           takeDevice<pa_sink_info>, &result),
                          "describe its outputs");
  return resultOf(finished, std::move(result));
}

std::expected<audio::Device, Error> PulseClient::source(const std::string& name) {
  if (name.empty()) return audio::Device{};
  audio::Device result;
  const auto finished = connection_->finish(
      pa_context_get_source_info_by_name(connection_->context.get(), name.c_str(),
                                         takeDevice<pa_source_info>, &result),
      "describe its inputs");
  return resultOf(finished, std::move(result));
}

std::expected<std::vector<LoadedModule>, Error> PulseClient::modules() {
  std::vector<LoadedModule> result;
  const auto take = [](pa_context* /*context*/, const pa_module_info* info, int endOfList,
                       void* into) {
    if (endOfList != 0 || info == nullptr) return;
    static_cast<std::vector<LoadedModule>*>(into)->push_back(
        {.index = info->index, .name = textOf(info->name), .argument = textOf(info->argument)});
  };
  const auto finished = connection_->finish(
      pa_context_get_module_info_list(connection_->context.get(), take, &result),
      "list its modules");
  return resultOf(finished, std::move(result));
}

std::expected<void, Error> PulseClient::loadModule(const std::string& name,
                                                   const std::string& argument) {
  bool success = false;
  const auto take = [](pa_context* /*context*/, std::uint32_t index, void* into) {
    *static_cast<bool*>(into) = index != PA_INVALID_INDEX;
  };
  auto* const operation = pa_context_load_module(connection_->context.get(), name.c_str(),
                                                 argument.c_str(), take, &success);
  return connection_->finish(operation, "create the device", success);
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

bool PulseClient::waitUntil(const std::function<bool()>& condition,
                            std::chrono::milliseconds limit) {
  const auto end = Clock::now() + limit;
  while (!condition()) {
    if (Clock::now() >= end) return false;
    connection_->runUntil([] { return false; }, Clock::now() + 20ms);
  }
  return true;
}

}  // namespace quorin::device
