#include "platform/desktop/microphone_rules.h"

#include "platform/desktop/sandbox.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

namespace quorin::desktop {
namespace {

using enum AuthorizationStatus;

TEST(MicrophoneRules, WhatTheUserForbadeComesFirst) {
  constexpr bool kFree = false;
  constexpr bool kSandboxed = true;
  constexpr auto kUnknown = std::optional<bool>();
  using enum StoredAnswer;
  const struct {
    const char* situation;
    MicrophoneFacts facts;
    AuthorizationStatus status;
  } cases[] = {
      {"the desktop has not answered", {kFree, std::nullopt, true}, kNotDetermined},
      {"no sandbox, no portal", {kFree, PortalAnswers{}, kUnknown}, kAuthorized},
      {"no sandbox, server refuses", {kFree, PortalAnswers{}, false}, kDenied},
      {"no sandbox, store says no", {kFree, {{kNo}}, true}, kDenied},
      {"no sandbox, store wants to ask", {kFree, {{kAsk}}, kUnknown}, kNotDetermined},
      {"sandbox, not asked", {kSandboxed, PortalAnswers{}, kUnknown}, kNotDetermined},
      {"sandbox, store says yes", {kSandboxed, {{kYes}}, kUnknown}, kAuthorized},
      {"sandbox, yes but refused", {kSandboxed, {{kYes}}, false}, kDenied},
      {"locked, whatever else", {kFree, {{kYes, true}}, true}, kRestricted},
  };
  for (const auto& [situation, facts, status] : cases) {
    EXPECT_EQ(authorizationStatus(facts), status) << situation;
  }
}

TEST(Sandbox, GivesTheNameThatTheDesktopKnows) {
  const test::TemporaryDirectory folder;
  const auto info = folder.path() / "info";
  EXPECT_EQ(identify("own.id", info), Identity("own.id", false));
  std::ofstream(info) << "[Instance]\nname=wrong\n[Application]\nname=org.example.App\n[Context]\n";
  EXPECT_EQ(identify("own.id", info), Identity("org.example.App", true));
}

}  // namespace
}  // namespace quorin::desktop
