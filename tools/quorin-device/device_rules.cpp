#include "quorin-device/device_rules.h"

#include "audio/device_guard.h"

#include <algorithm>
#include <charconv>

namespace quorin::device {
namespace {

constexpr std::string_view kSource = "quorin_audio_input";
constexpr std::string_view kLender = "quorin.lender=";

bool hasRightName(const Endpoint& endpoint) {
  return audio::isDefaultDeviceNamed(
      {.number = endpoint.index + 1, .name = endpoint.description, .format = {}},
      audio::kExpectedDeviceName);
}

const Endpoint* findIf(const std::vector<Endpoint>& endpoints, const auto& condition) {
  const auto found = std::ranges::find_if(endpoints, condition);
  return found != endpoints.end() ? &*found : nullptr;
}

/// Ours by name even while it does not exist: a server remembers a default across its restarts.
bool isDevice(const std::vector<Endpoint>& endpoints, std::string_view name) {
  if (name == kSinkName || name == kSource || name == "quorin_audio.monitor") return true;
  const Endpoint* const endpoint = find(endpoints, name);
  return endpoint != nullptr && hasRightName(*endpoint);
}

/// The servers' substitute for a machine without any device, and "@DEFAULT_SINK@", which means
/// that there is no default yet: neither can be restored, or needs to be.
bool isPlaceholder(const std::string& name) {
  return name.starts_with('@') || name.starts_with("auto_null");
}

/// Without the characters that separate fields and lines.
std::string field(std::string text) {
  std::ranges::replace_if(text, [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
  return text;
}

}  // namespace

Module sinkModule(int lender) {
  // PulseAudio and PipeWire take different quotings of properties; both take this one. Without
  // "norewinds" the first sound of an idle null sink can be almost 2 s late.
  const auto lent = lender == 0 ? "" : " " + std::string(kLender) + std::to_string(lender);
  return {.name = "module-null-sink",
          .argument =
              "sink_name=quorin_audio norewinds=1 "
              "sink_properties='device.description=\"Quorin Audio\"" +
              lent + "'"};
}

Module sourceModule() {
  return {.name = "module-remap-source",
          .argument =
              "master=quorin_audio.monitor source_name=quorin_audio_input "
              "source_properties='device.description=\"Quorin Audio\"'"};
}

Module loopbackModule(const Endpoint& device, const Endpoint& sink) {
  return {.name = "module-loopback",
          .argument = "source=" + device.name + ".monitor sink=" + sink.name +
                      " latency_msec=30 source_dont_move=true sink_dont_move=true "
                      "sink_input_properties=" +
                      kLoopbackMark + "=1"};
}

bool isOurs(const Module& module) {
  return (module.name == "module-null-sink" &&
          module.argument.contains("sink_name=quorin_audio ")) ||
         (module.name == "module-remap-source" &&
          module.argument.contains("source_name=quorin_audio_input "));
}

int lenderOf(const Snapshot& snapshot) {
  int process = 0;
  for (const Module& module : snapshot.modules) {
    const auto at = module.argument.find(kLender);
    if (!isOurs(module) || at == std::string::npos) continue;
    const std::string_view digits = std::string_view(module.argument).substr(at + kLender.size());
    std::from_chars(digits.begin(), digits.end(), process);
  }
  return process;
}

const Endpoint* find(const std::vector<Endpoint>& endpoints, std::string_view name) {
  return findIf(endpoints, [name](const Endpoint& endpoint) { return endpoint.name == name; });
}

const Endpoint* find(const std::vector<Endpoint>& endpoints, std::uint32_t index) {
  return findIf(endpoints, [index](const Endpoint& endpoint) { return endpoint.index == index; });
}

DevicePair findDevice(const Snapshot& snapshot) {
  const Endpoint* sink = find(snapshot.sinks, snapshot.defaultSink);
  if (sink == nullptr || !hasRightName(*sink)) sink = find(snapshot.sinks, kSinkName);
  if (sink == nullptr) sink = findIf(snapshot.sinks, hasRightName);
  if (sink == nullptr) return {};
  if (sink->name == kSinkName) return {.sink = sink, .source = find(snapshot.sources, kSource)};
  const Endpoint* const source = findIf(snapshot.sources, [](const Endpoint& each) {
    return !each.isMonitor && each.name != kSource && hasRightName(each);
  });
  return {.sink = sink,
          .source = source != nullptr ? source : find(snapshot.sources, sink->name + ".monitor")};
}

Holds holdsDefaults(const Snapshot& snapshot) {
  return {.output = isDevice(snapshot.sinks, snapshot.defaultSink),
          .input = isDevice(snapshot.sources, snapshot.defaultSource)};
}

Holds stillHeld(const Snapshot& snapshot, const Holds& before) {
  if (!findDevice(snapshot).isWhole()) return before;
  const auto which = [](const auto& endpoints, const std::string& current, bool heldBefore) {
    return find(endpoints, current) != nullptr ? isDevice(endpoints, current) : heldBefore;
  };
  return {.output = which(snapshot.sinks, snapshot.defaultSink, before.output),
          .input = which(snapshot.sources, snapshot.defaultSource, before.input)};
}

Defaults toRemember(const Snapshot& snapshot, const Defaults& remembered) {
  const auto which = [](bool isOurDevice, const std::string& current, const std::string& before) {
    return isOurDevice || isPlaceholder(current) ? before : current;
  };
  const Holds holds = holdsDefaults(snapshot);
  return {.output = which(holds.output, snapshot.defaultSink, remembered.output),
          .input = which(holds.input, snapshot.defaultSource, remembered.input)};
}

std::vector<Playback> programsOn(const Snapshot& snapshot, const Endpoint* sink) {
  auto result = snapshot.playbacks;
  std::erase_if(result, [sink](const Playback& each) {
    return sink == nullptr || each.isLoopback || each.sink != sink->index;
  });
  return result;
}

std::vector<Playback> playingElsewhere(const Snapshot& snapshot) {
  const Endpoint* const device = findDevice(snapshot).sink;
  auto result = snapshot.playbacks;
  std::erase_if(result, [device](const Playback& each) {
    return device == nullptr || each.isLoopback || each.sink == device->index;
  });
  return result;
}

std::string soundLine(const Snapshot& snapshot) {
  const DevicePair device = findDevice(snapshot);
  if (device.sink == nullptr) return "clear";
  if (device.sink->isSilenced() || (device.source != nullptr && device.source->isSilenced())) {
    return "muted";
  }
  for (const Playback& each : playingElsewhere(snapshot)) {
    const Endpoint* const where = find(snapshot.sinks, each.sink);
    if (each.paused || where == nullptr) continue;
    return "elsewhere\t" + field(each.program) + '\t' + field(where->description);
  }
  return "clear";
}

}  // namespace quorin::device
