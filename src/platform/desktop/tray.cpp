#include "platform/desktop/tray.h"

#include "platform/desktop/window_front.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
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
  explicit TrayWatch(std::function<void()> appeared)
      : appeared_(std::move(appeared)),
        watcher_(kName, QDBusConnection::sessionBus(), QDBusServiceWatcher::WatchForRegistration) {
    connect(&watcher_, &QDBusServiceWatcher::serviceRegistered, this, &TrayWatch::ask);
    watcher_.connection().connect({}, kPath, kName, "StatusNotifierHostRegistered", this,
                                  SLOT(ask()));
    ask();
    if (hasX11Tray()) QTimer::singleShot(0, this, appeared_);
  }

 private slots:
  void ask() {
    auto get =
        QDBusMessage::createMethodCall(kName, kPath, "org.freedesktop.DBus.Properties", "Get");
    get << kName << "IsStatusNotifierHostRegistered";
    get.setAutoStartService(false);
    auto* const asked = new QDBusPendingCallWatcher(watcher_.connection().asyncCall(get), this);
    connect(asked, &QDBusPendingCallWatcher::finished, this, [this, asked] {
      asked->deleteLater();
      const QDBusPendingReply<QDBusVariant> hasPanel = *asked;
      if (hasPanel.isValid() && hasPanel.value().variant().toBool()) appeared_();
    });
  }

 private:
  std::function<void()> appeared_;
  QDBusServiceWatcher watcher_;
};

}  // namespace

std::unique_ptr<QObject> watchTray(std::function<void()> appeared) {
  return std::make_unique<TrayWatch>(std::move(appeared));
}

}  // namespace quorin::desktop

#include "tray.moc"
