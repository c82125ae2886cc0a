#pragma once

#include <string>
#include <string_view>

namespace quorin::desktop {

/// The desktop's name for this program, and whether it runs in a sandbox.
struct Identity {
  std::string applicationId;
  bool sandboxed = false;

  bool operator==(const Identity&) const = default;
};

/// `ownId` is the desktop file's name, used outside a sandbox; `flatpakInfo` is the file in which
/// Flatpak describes the application.
Identity identify(std::string_view ownId, const std::string& flatpakInfo = "/.flatpak-info");

}  // namespace quorin::desktop
