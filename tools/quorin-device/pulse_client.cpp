#include "quorin-device/pulse_client.h"

#include "platform/audio/pulse_connection.h"
#include "platform/posix/file_descriptor.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

namespace quorin::device {

using namespace std::chrono_literals;
using audio::PulseConnection;
using Clock = std::chrono::steady_clock;

namespace {

constexpr auto kTimeout = 5s;
constexpr auto kLookAgain = 10ms;

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
  /// Readable while there is a change to be told.
  posix::FileDescriptor changed{::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
  int failure = PA_OK;  ///< of the connection
  PulseConnection pulse{
      {.applicationName = "quorin-device", .reconnect = false, .disconnected = [this](int error) {
         failure = error;
         noteChange();
       }}};

  void noteChange() const { ::eventfd_write(changed.get(), 1); }

  Error error(const std::string& doing) const {
    pa_context* const context = pulse.ready();
    const int code = context != nullptr ? pa_context_errno(context) : PA_ERR_CONNECTIONTERMINATED;
    return {.text = "The audio server would not " + doing + " (" + pa_strerror(code) + ").",
            .cause = context == nullptr      ? Error::Cause::kNoServer
                     : code == PA_ERR_ACCESS ? Error::Cause::kRefused
                                             : Error::Cause::kOther};
  }

  /// Waits for the end of the operation that `begin` gives. `success` is what the answer said.
  std::expected<void, Error> finish(const std::function<pa_operation*(pa_context*)>& begin,
                                    const std::string& doing, const bool& success) {
    const PulseConnection::Lock lock(pulse);
    pa_context* const context = pulse.ready();
    const auto outcome = context != nullptr ? pulse.run(begin(context), kTimeout)
                                            : PulseConnection::Outcome::kFailed;
    if (outcome == PulseConnection::Outcome::kTimeout) {
      return std::unexpected(Error{.text = "The audio server did not answer when asked to " +
                                           doing +
                                           ". Log out and in again, or restart the audio server.",
                                   .cause = Error::Cause::kNoServer});
    }
    if (outcome == PulseConnection::Outcome::kFailed || !success) {
      return std::unexpected(error(doing));
    }
    return {};
  }

  /// Appends what `ask` lists to `items`.
  template <typename Info, typename Item>
  std::expected<void, Error> list(
      pa_operation* (*ask)(pa_context*, void (*)(pa_context*, const Info*, int, void*), void*),
      Item (*convert)(const Info&), std::vector<Item>& items) {
    struct Into {
      Item (*convert)(const Info&);
      std::vector<Item>& items;
    } into{convert, items};
    const auto take = [](pa_context* /*context*/, const Info* info, int end, void* data) {
      if (end != 0 || info == nullptr) return;
      auto& [toItem, list] = *static_cast<Into*>(data);
      list.push_back(toItem(*info));
    };
    return finish([&](pa_context* context) { return ask(context, take, &into); },
                  "describe its devices", true);
  }
};

PulseClient::PulseClient(std::unique_ptr<Connection> connection)
    : connection_(std::move(connection)) {}
PulseClient::~PulseClient() = default;
PulseClient::PulseClient(PulseClient&&) noexcept = default;
PulseClient& PulseClient::operator=(PulseClient&&) noexcept = default;

std::expected<PulseClient, Error> PulseClient::connect() {
  auto connection = std::make_unique<Connection>();
  int failure = PA_OK;
  {
    const PulseConnection::Lock lock(connection->pulse);
    if (!connection->pulse.waitUntilReady(kTimeout)) {
      failure = connection->failure != PA_OK ? connection->failure : PA_ERR_TIMEOUT;
    }
  }
  if (failure == PA_OK) return PulseClient(std::move(connection));
  if (failure == PA_ERR_ACCESS) {
    return std::unexpected(
        Error{.text = "The audio server does not let this program in. Start it outside of its "
                      "sandbox, or give the sandbox access to the audio server.",
              .cause = Error::Cause::kRefused});
  }
  return std::unexpected(
      Error{.text = "No audio server can be reached (" + std::string(pa_strerror(failure)) +
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
  auto& connection = *connection_;
  auto done = connection.finish(
      [&](pa_context* context) { return pa_context_get_server_info(context, takeServer, &result); },
      "describe itself", true);
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
  struct Loaded {
    std::uint32_t index = PA_INVALID_INDEX;
    bool success = false;
  } loaded;
  const auto take = [](pa_context* /*context*/, std::uint32_t index, void* into) {
    *static_cast<Loaded*>(into) = {.index = index, .success = index != PA_INVALID_INDEX};
  };
  const auto finished = connection_->finish(
      [&](pa_context* context) {
        return pa_context_load_module(context, name.c_str(), argument.c_str(), take, &loaded);
      },
      "create the device", loaded.success);
  if (!finished) return std::unexpected(finished.error());
  return loaded.index;
}

template <typename Ask, typename... Arguments>
std::expected<void, Error> PulseClient::request(const std::string& doing, Ask ask,
                                                Arguments... arguments) {
  bool success = false;
  return connection_->finish(
      [&](pa_context* context) { return ask(context, arguments..., takeSuccess, &success); }, doing,
      success);
}

std::expected<void, Error> PulseClient::unloadModule(std::uint32_t index) {
  return request("remove the device", pa_context_unload_module, index);
}

std::expected<void, Error> PulseClient::setDefaultSink(const std::string& name) {
  return request("change the default output", pa_context_set_default_sink, name.c_str());
}

std::expected<void, Error> PulseClient::setDefaultSource(const std::string& name) {
  return request("change the default input", pa_context_set_default_source, name.c_str());
}

std::expected<void, Error> PulseClient::move(std::uint32_t playback, std::uint32_t sink) {
  return request("move a program to another device", pa_context_move_sink_input_by_index, playback,
                 sink);
}

std::expected<void, Error> PulseClient::unmute(const Endpoint& sink) {
  auto done = request("unmute the device", pa_context_set_sink_mute_by_index, sink.index, 0);
  const auto now = look();
  if (!done || !now) return done;
  const auto same = std::ranges::find(now->sinks, sink.index, &Endpoint::index);
  if (same == now->sinks.end() || !same->muted) return done;
  pa_cvolume volume;
  pa_cvolume_set(&volume, 2, PA_VOLUME_NORM);
  return request("turn the device up", pa_context_set_sink_volume_by_index, sink.index, &volume);
}

bool PulseClient::waitUntil(const std::function<bool(const Snapshot&)>& condition,
                            std::chrono::milliseconds limit) {
  const auto end = Clock::now() + limit;
  for (;;) {
    const auto snapshot = look();
    if (!snapshot) return false;
    if (condition(*snapshot)) return true;
    if (Clock::now() >= end) return false;
    std::this_thread::sleep_for(kLookAgain);
  }
}

std::expected<void, Error> PulseClient::subscribe() {
  constexpr auto kMask = static_cast<pa_subscription_mask_t>(
      PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE |
      PA_SUBSCRIPTION_MASK_SINK_INPUT);
  bool success = false;
  return connection_->finish(
      [&](pa_context* context) {
        pa_context_set_subscribe_callback(
            context,
            [](pa_context* /*context*/, pa_subscription_event_type_t /*type*/,
               std::uint32_t /*index*/,
               void* connection) { static_cast<Connection*>(connection)->noteChange(); },
            connection_.get());
        return pa_context_subscribe(context, kMask, takeSuccess, &success);
      },
      "report changes", success);
}

bool PulseClient::waitForChange(std::span<const int> descriptors) {
  std::vector<pollfd> polled{{connection_->changed.get(), POLLIN, 0}};
  for (const int descriptor : descriptors) polled.push_back({descriptor, POLLIN, 0});
  ::poll(polled.data(), polled.size(), -1);
  eventfd_t count = 0;
  ::eventfd_read(connection_->changed.get(), &count);
  const PulseConnection::Lock lock(connection_->pulse);
  return connection_->pulse.ready() != nullptr;
}

}  // namespace quorin::device
