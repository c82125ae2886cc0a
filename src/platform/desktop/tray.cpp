#include "platform/desktop/tray.h"

#include "platform/desktop/window_front.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QTimer>
#include <utility>

namespace quorin::desktop {
namespace {

const auto kName = QStringLiteral("org.kde.StatusNotifierWatcher");
const auto kPath = QStringLiteral("/StatusNotifierWatcher");

/// Panels register with a watcher, which may run without any.
class TrayWatch : public QObject {
  Q_OBJECT
 public:
  explicit TrayWatch(std::function<void()> appeared) : appeared_(std::move(appeared)) {
    auto bus = QDBusConnection::sessionBus();
    bus.connect({}, "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged", {kName},
                {}, this, SLOT(ask()));
    bus.connect({}, kPath, kName, "StatusNotifierHostRegistered", this, SLOT(ask()));
    ask();
    if (hasX11Tray()) QTimer::singleShot(0, this, appeared_);
  }

 private slots:
  void ask() {
    auto get =
        QDBusMessage::createMethodCall(kName, kPath, "org.freedesktop.DBus.Properties", "Get");
    get << kName << "IsStatusNotifierHostRegistered";
    get.setAutoStartService(false);
    QDBusConnection::sessionBus().callWithCallback(get, this, SLOT(onAnswer(QDBusVariant)));
  }
  void onAnswer(const QDBusVariant& hasPanel) {
    if (hasPanel.variant().toBool()) appeared_();
  }

 private:
  std::function<void()> appeared_;
};

}  // namespace

std::unique_ptr<QObject> watchTray(std::function<void()> appeared) {
  return std::make_unique<TrayWatch>(std::move(appeared));
}

}  // namespace quorin::desktop

#include "tray.moc"
