#include "platform/desktop/microphone_rules.h"

namespace quorin::desktop {

AuthorizationStatus authorizationStatus(const MicrophoneFacts& facts) {
  if (!facts.portal) return AuthorizationStatus::kNotDetermined;
  if (facts.portal->lockedDown) return AuthorizationStatus::kRestricted;
  const auto stored = facts.portal->stored;
  if (stored == StoredAnswer::kNo || facts.mayRecord == false) {
    return AuthorizationStatus::kDenied;
  }
  if (stored == StoredAnswer::kYes || facts.mayRecord == true) {
    return AuthorizationStatus::kAuthorized;
  }
  const bool mayJustRecord = !facts.sandboxed && stored == StoredAnswer::kNone;
  return mayJustRecord ? AuthorizationStatus::kAuthorized : AuthorizationStatus::kNotDetermined;
}

}  // namespace quorin::desktop
