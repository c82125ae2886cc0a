#pragma once

#include <cstdint>
#include <optional>

namespace quorin::desktop {

/// Whether this program may use the microphone. Only kAuthorized permits it.
enum class AuthorizationStatus : std::uint8_t {
  kNotDetermined = 0,  ///< the answer is pending
  kRestricted = 1,     ///< the desktop forbids it to every program
  kDenied = 2,         ///< refused to this program
  kAuthorized = 3,
};

/// What the desktop's permission store holds for this program.
enum class StoredAnswer : std::uint8_t { kNone, kAsk, kYes, kNo };

struct PortalAnswers {
  StoredAnswer stored = StoredAnswer::kNone;
  bool lockedDown = false;  ///< microphones are disabled for all programs
};

struct MicrophoneFacts {
  bool sandboxed = false;               ///< a sandbox stands between this program and the devices
  std::optional<PortalAnswers> portal;  ///< none until the desktop has answered, or cannot
  std::optional<bool> mayRecord{};      ///< the audio server's latest answer
};

/// A refusal always wins; outside a sandbox, everything not refused is allowed.
AuthorizationStatus authorizationStatus(const MicrophoneFacts& facts);

}  // namespace quorin::desktop
