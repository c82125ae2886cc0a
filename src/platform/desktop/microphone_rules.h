#pragma once

#include "platform/desktop/authorization_status.h"

#include <cstdint>
#include <optional>

namespace quorin::desktop {

/// What the audio server said when this program last tried to record.
enum class RecordAccess : std::uint8_t { kUnknown, kGranted, kRefused };

/// What the desktop's permission store holds for this program.
enum class StoredAnswer : std::uint8_t { kNone, kAsk, kYes, kNo };

struct PortalAnswers {
  StoredAnswer stored = StoredAnswer::kNone;
  bool lockedDown = false;  ///< microphones are switched off for everybody

  bool operator==(const PortalAnswers&) const = default;
};

struct MicrophoneFacts {
  bool sandboxed = false;               ///< somebody stands between this program and the devices
  std::optional<PortalAnswers> portal;  ///< none until the desktop has answered, or cannot
  RecordAccess record = RecordAccess::kUnknown;
};

/// What the user forbade comes first; outside a sandbox all that is not forbidden is allowed.
AuthorizationStatus authorizationStatus(const MicrophoneFacts& facts);

}  // namespace quorin::desktop
