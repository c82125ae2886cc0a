#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quorin::desktop {

/// Under which name the desktop knows this program, and whether it keeps it in a sandbox.
struct Identity {
  std::string applicationId;
  bool sandboxed = false;

  bool operator==(const Identity&) const = default;
};

/// What a program can find out about its sandbox.
struct SandboxTraces {
  std::optional<std::string> flatpakInfo{};  ///< contents of /.flatpak-info
  std::optional<std::string> snapName{};     ///< $SNAP_INSTANCE_NAME
};

/// `ownId` is the name of the desktop file, which counts outside a sandbox.
Identity identify(const SandboxTraces& traces, std::string_view ownId);

SandboxTraces findSandboxTraces();

}  // namespace quorin::desktop
