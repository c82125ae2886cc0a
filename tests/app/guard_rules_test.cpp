#include "app/guard_rules.h"

#include <gtest/gtest.h>

namespace quorin::app {
namespace {

TEST(GuardRules, ADeviceIsRightWhenItsNameContainsTheExpectedOne) {
  const struct {
    Device device;
    bool right;
    std::string shown;
  } cases[] = {
      {{.number = 7, .name = "Quorin Audio"}, true, "Quorin Audio"},
      {{.number = 7, .name = "QUORIN AUDIO (2ch)"}, true, "QUORIN AUDIO (2ch)"},
      {{.number = 7, .name = "Monitor of quorin audio"}, true, "Monitor of quorin audio"},
      {{.number = 7, .name = "Quorin Audio 2"}, true, "Quorin Audio 2"},
      {{.number = 7, .name = "Quorin"}, false, "Quorin"},
      {{.number = 7, .name = "Quorin  Audio"}, false, "Quorin  Audio"},
      {{.number = 7, .name = "Audio Quorin"}, false, "Audio Quorin"},
      {{.number = 7, .name = ""}, false, ""},
      {{.number = 7, .name = std::nullopt}, false, "(desconocido)"},
      {{.number = 0, .name = std::nullopt}, false, "(sin dispositivo)"},
      {{.number = 0, .name = "Quorin Audio"}, false, "(sin dispositivo)"},
  };
  for (const auto& [device, right, shown] : cases) {
    SCOPED_TRACE(shown);
    EXPECT_EQ(isDefaultDeviceNamed(device, kExpectedDeviceName), right);
    EXPECT_EQ(currentDeviceName(device), shown);
  }
  EXPECT_FALSE(isDefaultDeviceNamed({.number = 7, .name = "Quorin Audio"}, ""));
}

TEST(GuardRules, TheTextAsksForTheDevicesThatAreWrong) {
  EXPECT_EQ(guardTextFor({.outOk = true, .inOk = false}), GuardText::kInput);
  EXPECT_EQ(guardTextFor({.outOk = false, .inOk = true}), GuardText::kOutput);
  EXPECT_EQ(guardTextFor({.outOk = false, .inOk = false}), GuardText::kBoth);
}

}  // namespace
}  // namespace quorin::app
