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
  using enum RecordAccess;
  using Stored = StoredAnswer;
  const struct {
    const char* situation;
    MicrophoneFacts facts;
    AuthorizationStatus status;
  } cases[] = {
      {"the desktop has not answered", {kFree, std::nullopt, kGranted}, kNotDetermined},
      {"no sandbox, no portal", {kFree, PortalAnswers{}, kUnknown}, kAuthorized},
      {"no sandbox, server refuses", {kFree, PortalAnswers{}, kRefused}, kDenied},
      {"no sandbox, store says no", {kFree, {{Stored::kNo}}, kGranted}, kDenied},
      {"no sandbox, store wants to ask", {kFree, {{Stored::kAsk}}, kUnknown}, kNotDetermined},
      {"no sandbox, asked and granted", {kFree, {{Stored::kAsk}}, kGranted}, kAuthorized},
      {"sandbox, not asked", {kSandboxed, PortalAnswers{}, kUnknown}, kNotDetermined},
      {"sandbox, allowed to record", {kSandboxed, PortalAnswers{}, kGranted}, kAuthorized},
      {"sandbox, store says yes", {kSandboxed, {{Stored::kYes}}, kUnknown}, kAuthorized},
      {"sandbox, yes but refused", {kSandboxed, {{Stored::kYes}}, kRefused}, kDenied},
      {"sandbox, store says no", {kSandboxed, {{Stored::kNo}}, kUnknown}, kDenied},
      {"locked, whatever else", {kFree, {{Stored::kYes, true}}, kGranted}, kRestricted},
      {"locked and denied", {kSandboxed, {{Stored::kNo, true}}, kRefused}, kRestricted},
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
