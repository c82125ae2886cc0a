#pragma once

#include "platform/desktop/authorization_status.h"

#include <cstdint>
#include <optional>

namespace quorin::desktop {

/// What the desktop's permission store holds for this program.
enum class StoredAnswer : std::uint8_t { kNone, kAsk, kYes, kNo };

struct PortalAnswers {
  StoredAnswer stored = StoredAnswer::kNone;
  bool lockedDown = false;  ///< microphones are disabled for all programs

  bool operator==(const PortalAnswers&) const = default;
};

struct MicrophoneFacts {
  bool sandboxed = false;               ///< a sandbox stands between this program and the devices
  std::optional<PortalAnswers> portal;  ///< none until the desktop has answered, or cannot
  std::optional<bool> mayRecord{};      ///< the audio server's latest answer
};

/// A refusal always wins; outside a sandbox, everything not refused is allowed.
AuthorizationStatus authorizationStatus(const MicrophoneFacts& facts);

}  // namespace quorin::desktop
