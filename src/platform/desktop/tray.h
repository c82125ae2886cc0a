#pragma once

#include <QObject>
#include <functional>
#include <memory>

namespace quorin::desktop {

/// Runs `appeared` when the desktop can show tray icons: soon, or as often as a panel starts later,
/// until the result is destroyed. Qt looks for a panel only when the program makes its first icon,
/// which is therefore not to be made earlier. GUI thread.
std::unique_ptr<QObject> watchTray(std::function<void()> appeared);

}  // namespace quorin::desktop
