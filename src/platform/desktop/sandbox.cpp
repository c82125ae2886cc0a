#include "platform/desktop/sandbox.h"

#include <QByteArray>
#include <QFile>

namespace quorin::desktop {
namespace {

/// The value of "name=" in the section [Application]; nothing when it is not there.
std::string applicationName(std::string_view info) {
  constexpr std::string_view kName = "name=";
  bool inSection = false;
  while (!info.empty()) {
    const auto end = info.find('\n');
    const auto line = info.substr(0, end);
    info.remove_prefix(end == std::string_view::npos ? info.size() : end + 1);
    if (line.starts_with('[')) {
      inSection = line == "[Application]";
    } else if (inSection && line.starts_with(kName)) {
      return std::string(line.substr(kName.size()));
    }
  }
  return {};
}

}  // namespace

Identity identify(const SandboxTraces& traces, std::string_view ownId) {
  if (traces.flatpakInfo) {
    return {.applicationId = applicationName(*traces.flatpakInfo), .sandboxed = true};
  }
  if (traces.snapName) return {.applicationId = "snap." + *traces.snapName, .sandboxed = true};
  return {.applicationId = std::string(ownId), .sandboxed = false};
}

SandboxTraces findSandboxTraces() {
  SandboxTraces traces;
  if (QFile info("/.flatpak-info"); info.open(QIODevice::ReadOnly)) {
    traces.flatpakInfo = info.readAll().toStdString();
  }
  if (const QByteArray name = qgetenv("SNAP_INSTANCE_NAME"); !name.isEmpty()) {
    traces.snapName = name.toStdString();
  }
  return traces;
}

}  // namespace quorin::desktop
