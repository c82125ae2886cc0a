#pragma once

#include <QObject>
#include <functional>
#include <memory>

namespace quorin::desktop {

/// The user's desktop-wide display settings.
struct Look {
  double textScale = 1;
  bool highContrast = false;
};

/// Reports the portal's settings and each change until the result is destroyed; nothing without a
/// portal. High contrast if any setting asks for it. Main thread; never waits, provided that the
/// session bus is already connected.
std::unique_ptr<QObject> watchLook(std::function<void(const Look&)> changed);

}  // namespace quorin::desktop
