#include "audio/device_guard.h"

#include <gtest/gtest.h>

namespace quorin::audio {
namespace {

Device named(std::string name) {
  return {.number = 7, .name = std::move(name), .format = {}};
}
const Device kNone{};
const Device kNameless{.number = 7, .name = std::nullopt, .format = {}};

TEST(DeviceGuard, ADeviceIsKnownByPartOfItsNameWhateverTheCase) {
  const struct {
    Device device;
    std::string_view expected;
    bool result;
  } cases[] = {
      {named("Quorin Audio"), kExpectedDeviceName, true},
      {named("QUORIN AUDIO (2ch)"), kExpectedDeviceName, true},
      {named("quorin audio"), kExpectedDeviceName, true},
      {named("Monitor of Quorin Audio 2"), kExpectedDeviceName, true},
      {named("Quorin"), kExpectedDeviceName, false},
      {named("Quorin-Audio"), kExpectedDeviceName, false},
      {named(""), kExpectedDeviceName, false},
      {named("Quorin Audio"), "", false},
      {kNameless, kExpectedDeviceName, false},
      {kNone, kExpectedDeviceName, false},
      {{.number = 0, .name = "Quorin Audio", .format = {}}, kExpectedDeviceName, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(isDefaultDeviceNamed(c.device, c.expected), c.result)
        << currentDeviceName(c.device) << " / " << c.expected;
  }
}

}  // namespace
}  // namespace quorin::audio
