#pragma once

#include <QObject>
#include <functional>
#include <memory>

namespace quorin::desktop {

/// Calls `appeared` once the desktop can show tray icons, and again whenever a tray appears, until
/// the result is destroyed. Create the first QSystemTrayIcon only in that call: Qt looks for a tray
/// only once. GUI thread.
std::unique_ptr<QObject> watchTray(std::function<void()> appeared);

}  // namespace quorin::desktop
