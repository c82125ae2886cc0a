#include "audio/device_guard.h"

#include <gtest/gtest.h>

namespace quorin::audio {
namespace {

TEST(DeviceGuard, ADeviceIsKnownByPartOfItsNameWhateverTheCase) {
  const struct {
    Device device;
    bool result;
  } cases[] = {
      {{.number = 7, .name = "QUORIN audio (2ch)", .format = {}}, true},
      {{.number = 7, .name = "Monitor of Quorin Audio 2", .format = {}}, true},
      {{.number = 7, .name = "Quorin", .format = {}}, false},
      {{.number = 7, .name = "Quorin-Audio", .format = {}}, false},
      {{.number = 7, .name = std::nullopt, .format = {}}, false},
      {{.number = 0, .name = "Quorin Audio", .format = {}}, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(isDefaultDeviceNamed(c.device, kExpectedDeviceName), c.result)
        << currentDeviceName(c.device);
  }
}

}  // namespace
}  // namespace quorin::audio
