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

// What is named as a default may not exist: PipeWire names "@DEFAULT_SINK@" and the like while it
// has none.
void PulseDevices::serverAnswered(const pa_server_info* info) {
  if (info != nullptr) {
    answer_.server = textOf(info->server_name) + ' ' + textOf(info->server_version);
    defaultSink_ = textOf(info->default_sink_name);
    defaultSource_ = textOf(info->default_source_name);
    answersDue_ += 2;
    detach(::pa_context_get_sink_info_list(
        context_,
        [](pa_context*, const pa_sink_info* sink, int end, void* self) {
          static_cast<PulseDevices*>(self)->sinkAnswered(sink, end);
        },
        this));
    detach(::pa_context_get_source_info_list(
        context_,
        [](pa_context*, const pa_source_info* source, int end, void* self) {
          static_cast<PulseDevices*>(self)->sourceAnswered(source, end);
        },
        this));
  }
  oneAnswerLess();
}

// One call for each device, and one for the end of the list.
void PulseDevices::sinkAnswered(const pa_sink_info* info, int end) {
  if (end != 0) return oneAnswerLess();
  answer_.outputs.push_back(textOf(info->description));
  if (defaultSink_ == info->name) answer_.output = toDevice(*info);
}

void PulseDevices::sourceAnswered(const pa_source_info* info, int end) {
  if (end != 0) return oneAnswerLess();
  if (info->monitor_of_sink == PA_INVALID_INDEX) {
    answer_.inputs.push_back(textOf(info->description));
  }
  if (defaultSource_ != info->name) return;
  answer_.input = toDevice(*info);
  sourceAnswer_ = PulseSource{.device = answer_.input, .channelMap = info->channel_map};
}

void PulseDevices::oneAnswerLess() {
  if (--answersDue_ > 0) return;
  known_ = true;
  source_ = sourceAnswer_;
  published_(answer_);
  if (refreshAgain_) refresh();
}

}  // namespace quorin::audio
