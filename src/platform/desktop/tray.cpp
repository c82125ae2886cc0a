#include "platform/desktop/tray.h"

#include "platform/desktop/window_front.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusServiceWatcher>

namespace quorin::desktop {

std::unique_ptr<QObject> watchTray(std::function<void()> appeared) {
  const auto kPanel = QStringLiteral("org.kde.StatusNotifierWatcher");
  const auto bus = QDBusConnection::sessionBus();
  auto watcher =
      std::make_unique<QDBusServiceWatcher>(kPanel, bus, QDBusServiceWatcher::WatchForRegistration);
  QObject::connect(watcher.get(), &QDBusServiceWatcher::serviceRegistered, watcher.get(), appeared);
  if (hasX11Tray() || (bus.isConnected() && bus.interface()->isServiceRegistered(kPanel))) {
    QMetaObject::invokeMethod(watcher.get(), std::move(appeared), Qt::QueuedConnection);
  }
  return watcher;
}

}  // namespace quorin::desktop
