#include "platform/desktop/look.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QVariantMap>
#include <utility>

namespace quorin::desktop {
namespace {

const auto kService = QStringLiteral("org.freedesktop.portal.Desktop");
const auto kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const auto kInterface = QStringLiteral("org.freedesktop.portal.Settings");

class LookWatch : public QObject {
  Q_OBJECT
 public:
  explicit LookWatch(std::function<void(const Look&)> changed) : changed_(std::move(changed)) {
    // No sender: connecting with one would block on the bus.
    auto bus = QDBusConnection::sessionBus();
    bus.connect({}, kPath, kInterface, "SettingChanged", this,
                SLOT(onSettingChanged(QString, QString, QDBusVariant)));
    auto readAll = QDBusMessage::createMethodCall(kService, kPath, kInterface, "ReadAll");
    readAll << QStringList{"org.freedesktop.appearance", "org.gnome.desktop.interface",
                           "org.gnome.desktop.a11y.interface"};
    bus.callWithCallback(readAll, this, SLOT(onAllRead(QDBusMessage)));
  }

 private slots:
  void onAllRead(const QDBusMessage& reply) {
    const auto spaces = qdbus_cast<QMap<QString, QVariantMap>>(reply.arguments().value(0));
    for (const auto& settings : spaces) {
      for (const auto& [key, value] : settings.asKeyValueRange()) take(key, value);
    }
    changed_(look_);
  }
  void onSettingChanged(const QString& /*space*/, const QString& key, const QDBusVariant& value) {
    take(key, value.variant());
    changed_(look_);
  }

 private:
  void take(const QString& key, const QVariant& value) {
    // On X11 the display factor contains it already.
    if (key == "text-scaling-factor" && QGuiApplication::platformName() != "xcb")
      look_.textScale = value.toDouble();
    // The portal's own setting, and the older one of GNOME: each may lack or contradict the other.
    if (key == "contrast") portalContrast_ = value.toUInt() == 1;
    if (key == "high-contrast") gnomeContrast_ = value.toBool();
    look_.highContrast = portalContrast_ || gnomeContrast_;
  }

  std::function<void(const Look&)> changed_;
  Look look_;
  bool portalContrast_ = false;
  bool gnomeContrast_ = false;
};

}  // namespace

std::unique_ptr<QObject> watchLook(std::function<void(const Look&)> changed) {
  return std::make_unique<LookWatch>(std::move(changed));
}

}  // namespace quorin::desktop

#include "look.moc"
