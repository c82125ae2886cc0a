#include "app/guard_rules.h"

#include <algorithm>

namespace quorin::app {
namespace {

// Device names are UTF-8; only the ASCII letters of the expected name need folding.
char folded(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isRight(const Device& device) {
  return isDefaultDeviceNamed(device, kExpectedDeviceName);
}

DeviceStatus statusOf(const Device& device) {
  return {.right = isRight(device), .name = currentDeviceName(device)};
}

}  // namespace

bool isDefaultDeviceNamed(const Device& device, std::string_view expected) {
  if (device.number == 0 || !device.name || expected.empty()) return false;
  return !std::ranges::search(*device.name, expected, {}, folded, folded).empty();
}

std::string currentDeviceName(const Device& device) {
  if (device.number == 0) return "(sin dispositivo)";
  return device.name.value_or("(desconocido)");
}

Routing routingOf(const DefaultDevices& devices) {
  return {.outOk = isRight(devices.output), .inOk = isRight(devices.input)};
}

GuardText guardTextFor(const Routing& routing) {
  if (routing.outOk) return GuardText::kInput;
  if (routing.inOk) return GuardText::kOutput;
  return GuardText::kBoth;
}

GuardStatus guardStatusOf(const DefaultDevices& devices) {
  return {.output = statusOf(devices.output), .input = statusOf(devices.input)};
}

}  // namespace quorin::app
