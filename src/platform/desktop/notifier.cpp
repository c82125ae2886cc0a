#include "platform/desktop/notifier.h"

#include "core/identity.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantMap>
#include <utility>

namespace quorin::desktop {
namespace {

// As freedesktop.org defines the notification service.
const auto kName = QStringLiteral("org.freedesktop.Notifications");
const auto kPath = QStringLiteral("/org/freedesktop/Notifications");

}  // namespace

Notifier::Notifier(Chosen chosen) : chosen_(std::move(chosen)) {
  // No sender: connecting with one would block on the bus.
  auto bus = QDBusConnection::sessionBus();
  bus.connect({}, kPath, kName, "ActivationToken", this, SLOT(onActivationToken(uint, QString)));
  bus.connect({}, kPath, kName, "ActionInvoked", this, SLOT(onActionInvoked(uint, QString)));
}

void Notifier::show(const QString& summary, const QString& body, const QStringList& actions) {
  auto notify = QDBusMessage::createMethodCall(kName, kPath, kName, "Notify");
  notify << app::kProgramName << id_ << app::kApplicationId << summary << body.toHtmlEscaped()
         << actions << QVariantMap{{"desktop-entry", app::kApplicationId}} << -1;
  QDBusConnection::sessionBus().callWithCallback(notify, this, SLOT(onShown(uint)));
}

void Notifier::withdraw() {
  if (id_ == 0) return;
  auto close = QDBusMessage::createMethodCall(kName, kPath, kName, "CloseNotification");
  QDBusConnection::sessionBus().send(close << std::exchange(id_, 0));
}

void Notifier::onActivationToken(uint id, const QString& token) {
  if (id == id_) token_ = token;
}

void Notifier::onActionInvoked(uint id, const QString& action) {
  if (id == id_ && id != 0) chosen_(action, std::exchange(token_, {}));
}

}  // namespace quorin::desktop
