#pragma once

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QMap>
#include <QStringList>
#include <string>

namespace quorin::test {

/// The desktop's portal as this program sees it: the permission store and the lock.
class StandInPortal : public QDBusVirtualObject {
 public:
  explicit StandInPortal(const std::string& address)
      : bus_(QDBusConnection::connectToBus(QString::fromStdString(address), "portal")) {
    qDBusRegisterMetaType<QMap<QString, QStringList>>();
    bus_.registerVirtualObject(kStorePath, this);
    bus_.registerVirtualObject(kDesktopPath, this);
  }
  ~StandInPortal() override { QDBusConnection::disconnectFromBus("portal"); }

  void start() {
    bus_.registerService(kStoreName);
    bus_.registerService(kDesktopName);
  }
  void store(const QString& applicationId, const QStringList& permission) {
    permissions_[applicationId] = permission;
    auto changed = QDBusMessage::createSignal(kStorePath, kStoreName, "Changed");
    changed << "devices"
            << "microphone" << false << QVariant::fromValue(QDBusVariant(0))
            << QVariant::fromValue(permissions_);
    bus_.send(changed);
  }
  void lock(bool locked) {
    locked_ = locked;
    auto changed = QDBusMessage::createSignal(kDesktopPath, "org.freedesktop.DBus.Properties",
                                              "PropertiesChanged");
    changed << "org.freedesktop.impl.portal.Lockdown" << QVariantMap{{"disable-microphone", locked}}
            << QStringList{};
    bus_.send(changed);
  }
  void setSilent() { silent_ = true; }

  QString introspect(const QString& /*path*/) const override { return {}; }

  bool handleMessage(const QDBusMessage& call, const QDBusConnection& bus) override {
    if (silent_) {
      call.setDelayedReply(true);
      return true;
    }
    if (call.member() == "Lookup" && call.arguments() == QVariantList{"devices", "microphone"}) {
      if (permissions_.isEmpty()) {
        return bus.send(call.createErrorReply("org.freedesktop.portal.Error.NotFound", "none"));
      }
      return bus.send(call.createReply(
          {QVariant::fromValue(permissions_), QVariant::fromValue(QDBusVariant(0))}));
    }
    if (call.member() == "Get" && call.arguments().value(1) == "disable-microphone") {
      return bus.send(call.createReply(QVariant::fromValue(QDBusVariant(locked_))));
    }
    return false;
  }

 private:
  inline static const QString kStoreName = "org.freedesktop.impl.portal.PermissionStore";
  inline static const QString kStorePath = "/org/freedesktop/impl/portal/PermissionStore";
  inline static const QString kDesktopName = "org.freedesktop.impl.portal.desktop.gnome";
  inline static const QString kDesktopPath = "/org/freedesktop/portal/desktop";

  QDBusConnection bus_;
  QMap<QString, QStringList> permissions_;
  bool locked_ = false;
  bool silent_ = false;
};

}  // namespace quorin::test
