#include "quorin-device/device_rules.h"

#include "audio/device_guard.h"

#include <algorithm>
#include <charconv>

namespace quorin::device {
namespace {

constexpr std::string_view kNullSink = "module-null-sink";
constexpr std::string_view kRemapSource = "module-remap-source";
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
  if (name == kSinkName || name == kSourceName || name == std::string(kSinkName) + ".monitor") {
    return true;
  }
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

ModuleLine sinkModule(int lender) {
  // PulseAudio and PipeWire take different quotings of properties; both take this one. Without
  // "norewinds" the first sound of an idle null sink can be almost 2 s late.
  const std::string lent = lender == 0 ? "" : " " + std::string(kLender) + std::to_string(lender);
  return {std::string(kNullSink), "sink_name=" + std::string(kSinkName) +
                                      " norewinds=1 sink_properties='device.description=\"Quorin "
                                      "Audio\"" +
                                      lent + "'"};
}

ModuleLine sourceModule() {
  return {std::string(kRemapSource),
          "master=" + std::string(kSinkName) + ".monitor source_name=" + std::string(kSourceName) +
              " source_properties='device.description=\"Quorin Audio\"'"};
}

ModuleLine loopbackModule(std::string_view source, std::string_view sink) {
  return {"module-loopback", "source=" + std::string(source) + " sink=" + std::string(sink) +
                                 " latency_msec=30 source_dont_move=true sink_dont_move=true "
                                 "sink_input_properties=" +
                                 kLoopbackMark + "=1"};
}

bool isOurs(const LoadedModule& module) {
  // Each is followed by another word.
  const auto names = [&module](std::string_view key, std::string_view name) {
    return module.argument.contains(std::string(key) + std::string(name) + ' ');
  };
  return (module.name == kNullSink && names("sink_name=", kSinkName)) ||
         (module.name == kRemapSource && names("source_name=", kSourceName));
}

int lenderOf(const LoadedModule& module) {
  const auto at = module.argument.find(kLender);
  if (!isOurs(module) || at == std::string::npos) return 0;
  int process = 0;
  const char* const digits = module.argument.data() + at + kLender.size();
  std::from_chars(digits, module.argument.data() + module.argument.size(), process);
  return process;
}

const Endpoint* find(const std::vector<Endpoint>& endpoints, std::string_view name) {
  return findIf(endpoints, [name](const Endpoint& endpoint) { return endpoint.name == name; });
}

const Endpoint* find(const std::vector<Endpoint>& endpoints, std::uint32_t index) {
  return findIf(endpoints, [index](const Endpoint& endpoint) { return endpoint.index == index; });
}

DevicePair findDevice(const Snapshot& snapshot) {
  DevicePair pair;
  pair.sink = find(snapshot.sinks, kSinkName);
  if (pair.sink != nullptr) {
    pair.source = find(snapshot.sources, kSourceName);
    return pair;
  }
  pair.sink = find(snapshot.sinks, snapshot.defaultSink);
  if (pair.sink == nullptr || !hasRightName(*pair.sink)) {
    pair.sink = findIf(snapshot.sinks, hasRightName);
  }
  if (pair.sink == nullptr) return pair;
  pair.source = findIf(snapshot.sources, [](const Endpoint& source) {
    return !source.isMonitor && hasRightName(source);
  });
  if (pair.source == nullptr) pair.source = find(snapshot.sources, pair.sink->name + ".monitor");
  return pair;
}

Holds holdsDefaults(const Snapshot& snapshot) {
  return {.output = isDevice(snapshot.sinks, snapshot.defaultSink),
          .input = isDevice(snapshot.sources, snapshot.defaultSource)};
}

Defaults toRemember(const Snapshot& snapshot, const Defaults& remembered) {
  const auto which = [](bool isOurDevice, const std::string& current, const std::string& before) {
    return isOurDevice || isPlaceholder(current) ? before : current;
  };
  const Holds holds = holdsDefaults(snapshot);
  return {.output = which(holds.output, snapshot.defaultSink, remembered.output),
          .input = which(holds.input, snapshot.defaultSource, remembered.input)};
}

std::vector<Playback> playingElsewhere(const Snapshot& snapshot) {
  const DevicePair device = findDevice(snapshot);
  std::vector<Playback> result;
  if (device.sink == nullptr) return result;
  std::ranges::copy_if(snapshot.playbacks, std::back_inserter(result), [&](const Playback& each) {
    return !each.isLoopback && each.sink != device.sink->index;
  });
  return result;
}

std::string soundLine(const Snapshot& snapshot) {
  const DevicePair device = findDevice(snapshot);
  if (device.sink == nullptr) return "clear";
  if (device.sink->isSilenced() || (device.source != nullptr && device.source->isSilenced())) {
    return "muted";
  }
  const bool something = std::ranges::any_of(snapshot.playbacks, [&](const Playback& each) {
    return !each.paused && each.sink == device.sink->index;
  });
  if (something) return "clear";
  for (const Playback& each : playingElsewhere(snapshot)) {
    const Endpoint* const where = find(snapshot.sinks, each.sink);
    if (each.paused || where == nullptr) continue;
    return "elsewhere\t" + field(each.program) + '\t' + field(where->description);
  }
  return "clear";
}

}  // namespace quorin::device
