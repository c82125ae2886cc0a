#include "platform/desktop/notifier.h"

#include "core/identity.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QVariantMap>
#include <utility>

namespace quorin::desktop {
namespace {

// As freedesktop.org defines the notification service.
const auto kName = QStringLiteral("org.freedesktop.Notifications");
const auto kPath = QStringLiteral("/org/freedesktop/Notifications");

QDBusMessage call(const char* method) {
  return QDBusMessage::createMethodCall(kName, kPath, kName, QLatin1String(method));
}

}  // namespace

Notifier::Notifier(Chosen chosen) : chosen_(std::move(chosen)) {
  // No sender: connecting with one would block on the bus.
  auto bus = QDBusConnection::sessionBus();
  bus.connect({}, kPath, kName, "ActivationToken", this, SLOT(onActivationToken(uint, QString)));
  bus.connect({}, kPath, kName, "ActionInvoked", this, SLOT(onActionInvoked(uint, QString)));
}

void Notifier::show(const QString& summary, const QString& body, const QStringList& actions) {
  auto notify = call("Notify");
  notify << QString::fromLatin1(app::kProgramName) << id_
         << QString::fromLatin1(app::kApplicationId) << summary << body.toHtmlEscaped() << actions
         << QVariantMap{{"desktop-entry", QString::fromLatin1(app::kApplicationId)}} << -1;
  const auto* const answer =
      new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(notify), this);
  connect(answer, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* done) {
    const QDBusPendingReply<uint> id = *done;
    if (id.isValid()) id_ = id.value();
    done->deleteLater();
  });
}

void Notifier::withdraw() {
  if (id_ == 0) return;
  auto close = call("CloseNotification");
  close << std::exchange(id_, 0);
  QDBusConnection::sessionBus().send(close);
}

void Notifier::onActivationToken(uint id, const QString& token) {
  if (id == id_) token_ = token;
}

void Notifier::onActionInvoked(uint id, const QString& action) {
  if (id == id_ && id != 0) chosen_(action, std::exchange(token_, {}));
}

}  // namespace quorin::desktop
