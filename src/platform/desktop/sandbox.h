#pragma once

#include <string>
#include <string_view>

namespace quorin::desktop {

/// Under which name the desktop knows this program, and whether it keeps it in a sandbox.
struct Identity {
  std::string applicationId;
  bool sandboxed = false;

  bool operator==(const Identity&) const = default;
};

/// `ownId` is the name of the desktop file, which counts outside a sandbox; `flatpakInfo` is where
/// Flatpak describes its own.
Identity identify(std::string_view ownId, const std::string& flatpakInfo = "/.flatpak-info");

}  // namespace quorin::desktop
