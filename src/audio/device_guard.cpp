#include "audio/device_guard.h"

#include <algorithm>

namespace quorin::audio {
namespace {

char lowered(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

bool isDefaultDeviceNamed(const Device& device, std::string_view expected) {
  if (device.number == 0 || !device.name || expected.empty()) return false;
  const auto sameLetter = [](char a, char b) { return lowered(a) == lowered(b); };
  return !std::ranges::search(*device.name, expected, sameLetter).empty();
}

std::string currentDeviceName(const Device& device) {
  if (device.number == 0) return "(sin dispositivo)";
  return device.name.value_or("(desconocido)");
}

Routing routingOf(const DefaultDevices& devices) {
  return {.outOK = isDefaultDeviceNamed(devices.output, kExpectedDeviceName),
          .inOK = isDefaultDeviceNamed(devices.input, kExpectedDeviceName)};
}

std::optional<std::string_view> guardTextKey(const Routing& routing) {
  if (routing.isRight()) return std::nullopt;
  if (routing.outOK) return "audio.guard.text.in";
  if (routing.inOK) return "audio.guard.text.out";
  return "audio.guard.text.both";
}

}  // namespace quorin::audio
