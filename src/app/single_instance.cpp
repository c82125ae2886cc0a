#include "app/single_instance.h"

#include "core/identity.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QFileInfo>
#include <utility>

namespace quorin::app {
namespace {

const auto kService = QString::fromLatin1(kApplicationId);

/// The path that belongs to the name: "org.quorin.Stream" gives "/org/quorin/Stream".
QString objectPath() {
  return QLatin1Char('/') + QString(kService).replace(u'.', u'/');
}

/// Asking for a bus that does not run may start one, which takes long and helps nobody.
bool hasSessionBus() {
  return qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS") ||
         QFileInfo::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus"));
}

/// How the desktop lets the window of another program come to the front.
QVariantMap platformDataOfThisStart() {
  QVariantMap data;
  const QString token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
  const QString startup = qEnvironmentVariable("DESKTOP_STARTUP_ID");
  if (!token.isEmpty()) data.insert(QStringLiteral("activation-token"), token);
  if (!startup.isEmpty()) data.insert(QStringLiteral("desktop-startup-id"), startup);
  return data;
}

}  // namespace

SingleInstance::SingleInstance(std::function<void(const QString&)> activated)
    : activated_(std::move(activated)) {}

SingleInstance::~SingleInstance() {
  if (owned_) QDBusConnection::sessionBus().unregisterService(kService);
}

bool SingleInstance::claim() {
  if (!hasSessionBus()) return true;
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return true;

  // The object first: whoever sees the name must find it.
  bus.registerObject(objectPath(), this, QDBusConnection::ExportScriptableSlots);
  if (bus.registerService(kService)) {
    owned_ = true;
    return true;
  }
  bus.unregisterObject(objectPath());

  auto activate = QDBusMessage::createMethodCall(kService, objectPath(),
                                                 QStringLiteral("org.freedesktop.Application"),
                                                 QStringLiteral("Activate"));
  activate << platformDataOfThisStart();
  constexpr int kPatienceMs = 2000;
  const QDBusMessage answer = bus.call(activate, QDBus::Block, kPatienceMs);
  return answer.type() == QDBusMessage::ErrorMessage;
}

void SingleInstance::Activate(const QVariantMap& platformData) {
  if (activated_) activated_(platformData.value(QStringLiteral("activation-token")).toString());
}

void SingleInstance::Open(const QStringList&, const QVariantMap& platformData) {
  Activate(platformData);
}

void SingleInstance::ActivateAction(const QString&, const QVariantList&,
                                    const QVariantMap& platformData) {
  Activate(platformData);
}

}  // namespace quorin::app
