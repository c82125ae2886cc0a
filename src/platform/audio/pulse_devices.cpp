#include "platform/audio/pulse_devices.h"

#include <string>
#include <utility>

namespace quorin::audio {
namespace {

/// An operation continues without its handle and ends with the connection.
void detach(pa_operation* operation) {
  if (operation != nullptr) ::pa_operation_unref(operation);
}

std::string textOf(const char* text) {
  return text != nullptr ? text : "";
}

/// PipeWire names "@DEFAULT_SINK@" and the like while it has no default.
bool namesDevice(const char* name) {
  return name != nullptr && name[0] != '\0' && name[0] != '@';
}

/// Sinks and sources share these field names.
template <typename Info>
Device toDevice(const Info& info) {
  Device device{
      .number = info.index + 1,  // PA_INVALID_INDEX becomes 0
      .name = std::nullopt,
      .format = {.sampleRate = info.sample_spec.rate, .channels = info.sample_spec.channels},
      .id = textOf(info.name)};
  if (info.description != nullptr && info.description[0] != '\0') device.name = info.description;
  return device;
}

}  // namespace

void PulseDevices::connected(pa_context* context) {
  context_ = context;
  ++connection_;
  ::pa_context_set_subscribe_callback(
      context,
      [](pa_context*, pa_subscription_event_type_t, uint32_t, void* self) {
        static_cast<PulseDevices*>(self)->refresh();
      },
      this);
  constexpr auto kMask = static_cast<pa_subscription_mask_t>(
      PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE);
  detach(::pa_context_subscribe(context, kMask, nullptr, nullptr));
  refresh();
}

void PulseDevices::disconnected() {
  // Pending operations ended with the connection, without an answer.
  context_ = nullptr;
  answersDue_ = 0;
  refreshAgain_ = false;
  known_ = false;
  source_.reset();
  published_({});
}

void PulseDevices::refresh() {
  if (answersDue_ > 0) {
    refreshAgain_ = true;
    return;
  }
  refreshAgain_ = false;
  answer_ = {};
  answer_.connection = connection_;
  sourceAnswer_.reset();
  answersDue_ = 1;
  detach(::pa_context_get_server_info(
      context_,
      [](pa_context*, const pa_server_info* info, void* self) {
        static_cast<PulseDevices*>(self)->serverAnswered(info);
      },
      this));
}

void PulseDevices::serverAnswered(const pa_server_info* info) {
  if (info != nullptr) {
    answer_.server = textOf(info->server_name) + ' ' + textOf(info->server_version);
  }
  if (info != nullptr && namesDevice(info->default_sink_name)) {
    ++answersDue_;
    detach(::pa_context_get_sink_info_by_name(
        context_, info->default_sink_name,
        [](pa_context*, const pa_sink_info* sink, int end, void* self) {
          static_cast<PulseDevices*>(self)->sinkAnswered(sink, end);
        },
        this));
  }
  if (info != nullptr && namesDevice(info->default_source_name)) {
    ++answersDue_;
    detach(::pa_context_get_source_info_by_name(
        context_, info->default_source_name,
        [](pa_context*, const pa_source_info* source, int end, void* self) {
          static_cast<PulseDevices*>(self)->sourceAnswered(source, end);
        },
        this));
  }
  oneAnswerLess();
}

// A list of at most one device, then its end; a device that vanished since gives a negative end.
void PulseDevices::sinkAnswered(const pa_sink_info* info, int end) {
  if (info != nullptr && end == 0) answer_.output = toDevice(*info);
  if (end != 0) oneAnswerLess();
}

void PulseDevices::sourceAnswered(const pa_source_info* info, int end) {
  if (info != nullptr && end == 0) {
    answer_.input = toDevice(*info);
    sourceAnswer_ = PulseSource{.device = answer_.input, .channelMap = info->channel_map};
  }
  if (end != 0) oneAnswerLess();
}

void PulseDevices::oneAnswerLess() {
  if (--answersDue_ > 0) return;
  known_ = true;
  source_ = sourceAnswer_;
  published_(answer_);
  if (refreshAgain_) refresh();
}

}  // namespace quorin::audio
