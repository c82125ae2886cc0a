#include "quorin-device/pulse_client.h"

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

LoadedModule moduleOf(const pa_module_info& info) {
  return {.index = info.index, .name = textOf(info.name), .argument = textOf(info.argument)};
}

}  // namespace

void PulseClient::noteChange() const {
  ::eventfd_write(changed_.get(), 1);
}

Error PulseClient::error(const std::string& doing) const {
  pa_context* const context = pulse_->ready();
  const int code = context != nullptr ? pa_context_errno(context) : PA_ERR_CONNECTIONTERMINATED;
  return {.text = "The audio server would not " + doing + " (" + pa_strerror(code) + ").",
          .cause = context == nullptr      ? Error::Cause::kNoServer
                   : code == PA_ERR_ACCESS ? Error::Cause::kRefused
                                           : Error::Cause::kOther};
}

/// Waits for the end of the operation that `begin` gives. `success` is what the answer said.
Done PulseClient::finish(const std::function<pa_operation*(pa_context*)>& begin,
                         const std::string& doing, const bool& success) {
  const PulseConnection::Lock lock(*pulse_);
  pa_context* const context = pulse_->ready();
  const auto outcome = context != nullptr ? pulse_->run(begin(context), kTimeout)
                                          : PulseConnection::Outcome::kFailed;
  if (outcome == PulseConnection::Outcome::kTimeout) {
    return std::unexpected(Error{.text = "The audio server did not answer when asked to " + doing +
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
Done PulseClient::list(pa_operation* (*ask)(pa_context*,
                                            void (*)(pa_context*, const Info*, int, void*), void*),
                       Item (*convert)(const Info&), std::vector<Item>& items) {
  struct Into {
    Item (*convert)(const Info&);
    std::vector<Item>& items;
  } into{convert, items};
  const auto take = [](pa_context*, const Info* info, int end, void* data) {
    if (end != 0 || info == nullptr) return;
    auto& [toItem, list] = *static_cast<Into*>(data);
    list.push_back(toItem(*info));
  };
  return finish([&](pa_context* context) { return ask(context, take, &into); },
                "describe its devices", true);
}

/// A request that is answered with success or failure: `ask` is libpulse's function, and
/// `arguments` what it takes between the context and the callback.
template <typename Ask, typename... Arguments>
Done PulseClient::request(const std::string& doing, Ask ask, Arguments... arguments) {
  bool success = false;
  const auto take = [](pa_context*, int answer, void* into) {
    *static_cast<bool*>(into) = answer != 0;
  };
  return finish(
      [&](pa_context* context) {
        return ask(context, arguments..., static_cast<pa_context_success_cb_t>(take), &success);
      },
      doing, success);
}

std::expected<std::unique_ptr<PulseClient>, Error> PulseClient::connect() {
  std::unique_ptr<PulseClient> client(new PulseClient);
  client->changed_ = posix::FileDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  client->pulse_ = std::make_unique<PulseConnection>(
      PulseConnection::Options{.applicationName = "quorin-device",
                               .reconnect = false,
                               .disconnected = [self = client.get()](int error) {
                                 self->failure_ = error;
                                 self->noteChange();
                               }});
  int failure = PA_ERR_TIMEOUT;
  {
    const PulseConnection::Lock lock(*client->pulse_);
    if (client->pulse_->waitUntilReady(kTimeout)) return client;
    if (client->failure_ != PA_OK) failure = client->failure_;
  }
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
  const auto takeServer = [](pa_context*, const pa_server_info* info, void* into) {
    if (info == nullptr) return;
    auto& snapshot = *static_cast<Snapshot*>(into);
    snapshot.server = textOf(info->server_name);
    snapshot.defaultSink = textOf(info->default_sink_name);
    snapshot.defaultSource = textOf(info->default_source_name);
  };
  auto done = finish(
      [&](pa_context* context) { return pa_context_get_server_info(context, takeServer, &result); },
      "describe itself", true);
  if (done) done = list(pa_context_get_sink_info_list, endpointOf<pa_sink_info>, result.sinks);
  if (done) done = list(pa_context_get_source_info_list, sourceOf, result.sources);
  if (done) done = list(pa_context_get_sink_input_info_list, playbackOf, result.playbacks);
  if (done) done = list(pa_context_get_module_info_list, moduleOf, result.modules);
  if (!done) return std::unexpected(done.error());
  return result;
}

std::expected<std::uint32_t, Error> PulseClient::loadModule(const std::string& name,
                                                            const std::string& argument) {
  struct Loaded {
    std::uint32_t index = PA_INVALID_INDEX;
    bool success = false;
  } loaded;
  const auto take = [](pa_context*, std::uint32_t index, void* into) {
    *static_cast<Loaded*>(into) = {.index = index, .success = index != PA_INVALID_INDEX};
  };
  const auto finished = finish(
      [&](pa_context* context) {
        return pa_context_load_module(context, name.c_str(), argument.c_str(), take, &loaded);
      },
      "create the device", loaded.success);
  if (!finished) return std::unexpected(finished.error());
  return loaded.index;
}

Done PulseClient::unloadModule(std::uint32_t index) {
  return request("remove the device", pa_context_unload_module, index);
}

Done PulseClient::setDefaultSink(const std::string& name) {
  return request("change the default output", pa_context_set_default_sink, name.c_str());
}

Done PulseClient::setDefaultSource(const std::string& name) {
  return request("change the default input", pa_context_set_default_source, name.c_str());
}

Done PulseClient::move(std::uint32_t playback, std::uint32_t sink) {
  return request("move a program to another device", pa_context_move_sink_input_by_index, playback,
                 sink);
}

template <typename SetMute, typename SetVolume>
Done PulseClient::unmute(const Endpoint& endpoint, SetMute setMute, SetVolume setVolume) {
  auto done = request("unmute the device", setMute, endpoint.index, 0);
  if (!done || !endpoint.volumeIsZero) return done;
  pa_cvolume volume;
  pa_cvolume_set(&volume, endpoint.channels, PA_VOLUME_NORM);
  return request("turn the device up", setVolume, endpoint.index, &volume);
}

Done PulseClient::unmuteSink(const Endpoint& sink) {
  return unmute(sink, pa_context_set_sink_mute_by_index, pa_context_set_sink_volume_by_index);
}

Done PulseClient::unmuteSource(const Endpoint& source) {
  return unmute(source, pa_context_set_source_mute_by_index, pa_context_set_source_volume_by_index);
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

Done PulseClient::subscribe() {
  constexpr auto kMask = static_cast<pa_subscription_mask_t>(
      PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE |
      PA_SUBSCRIPTION_MASK_SINK_INPUT);
  {
    const PulseConnection::Lock lock(*pulse_);
    if (auto* const context = pulse_->ready()) {
      pa_context_set_subscribe_callback(
          context,
          [](pa_context*, pa_subscription_event_type_t, std::uint32_t, void* self) {
            static_cast<PulseClient*>(self)->noteChange();
          },
          this);
    }
  }
  return request("report changes", pa_context_subscribe, kMask);
}

bool PulseClient::waitForChange(std::span<const int> descriptors) {
  std::vector<pollfd> polled{{changed_.get(), POLLIN, 0}};
  for (const int descriptor : descriptors) polled.push_back({descriptor, POLLIN, 0});
  ::poll(polled.data(), polled.size(), -1);
  eventfd_t count = 0;
  ::eventfd_read(changed_.get(), &count);
  const PulseConnection::Lock lock(*pulse_);
  return pulse_->ready() != nullptr;
}

}  // namespace quorin::device
