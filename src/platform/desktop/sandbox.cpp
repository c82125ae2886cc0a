#include "platform/desktop/sandbox.h"

#include <QFile>
#include <QSettings>

namespace quorin::desktop {

Identity identify(std::string_view ownId, const std::string& flatpakInfo) {
  if (const auto file = QString::fromStdString(flatpakInfo); QFile::exists(file)) {
    const auto name = QSettings(file, QSettings::IniFormat).value("Application/name").toString();
    return {.applicationId = name.toStdString(), .sandboxed = true};
  }
  if (const auto snap = qgetenv("SNAP_INSTANCE_NAME"); !snap.isEmpty()) {
    return {.applicationId = "snap." + snap.toStdString(), .sandboxed = true};
  }
  return {.applicationId = std::string(ownId), .sandboxed = false};
}

}  // namespace quorin::desktop
