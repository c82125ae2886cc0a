#include "window/console.h"

#include <gmock/gmock.h>

namespace quorin::app {
namespace {

TEST(ConsoleTest, LogsEveryLine) {
  testing::internal::CaptureStderr();
  Console(nullptr, nullptr).presentMessage("Connected to 7", true);
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr(">> Connected to 7"));
}

}  // namespace
}  // namespace quorin::app
