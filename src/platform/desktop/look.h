#pragma once

#include <QObject>
#include <functional>
#include <memory>

namespace quorin::desktop {

/// How the user has the desktop show every program.
struct Look {
  double textScale = 1;
  bool highContrast = false;
};

/// Reports what the desktop's portal says of the look, and each change, until the result is
/// destroyed; nothing without a portal. Main thread; never waits, provided that the session bus
/// has been connected to.
std::unique_ptr<QObject> watchLook(std::function<void(const Look&)> changed);

}  // namespace quorin::desktop
