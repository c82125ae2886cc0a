#include "platform/desktop/portal_watch.h"

#include <QDBusArgument>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QMap>
#include <QStringList>
#include <algorithm>
#include <utility>

namespace quorin::desktop {
namespace {

// https://flatpak.github.io/xdg-desktop-portal: the permission store and the lockdown backend.
constexpr auto kStore = "org.freedesktop.impl.portal.PermissionStore";
constexpr auto kStorePath = "/org/freedesktop/impl/portal/PermissionStore";
constexpr auto kTable = "devices";
constexpr auto kMicrophone = "microphone";
constexpr auto kLockdown = "org.freedesktop.impl.portal.Lockdown";
constexpr auto kLockdownPath = "/org/freedesktop/portal/desktop";
constexpr std::array kServices = {kStore, "org.freedesktop.impl.portal.desktop.gnome",
                                  "org.freedesktop.impl.portal.desktop.gtk"};
constexpr auto kProperties = "org.freedesktop.DBus.Properties";

/// A desktop that has not answered by then counts as one without settings.
constexpr int kTimeoutMs = 2000;

StoredAnswer storedAnswer(const QDBusMessage& reply, const QString& applicationId) {
  // Lookup gives (a{sas} permissions, v data).
  if (reply.type() != QDBusMessage::ReplyMessage || !reply.signature().startsWith("a{sas}")) {
    return StoredAnswer::kNone;
  }
  const auto permissions = qdbus_cast<QMap<QString, QStringList>>(reply.arguments().constFirst());
  const QStringList mine = permissions.value(applicationId);
  if (mine.isEmpty()) return StoredAnswer::kNone;
  if (mine.constFirst() == "yes") return StoredAnswer::kYes;
  if (mine.constFirst() == "no") return StoredAnswer::kNo;
  return StoredAnswer::kAsk;
}

bool isLockedDown(const QDBusMessage& reply) {
  if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != "v") return false;
  return reply.arguments().constFirst().value<QDBusVariant>().variant().toBool();
}

}  // namespace

PortalWatch::PortalWatch(const QDBusConnection& bus, QString applicationId,
                         std::function<void(const PortalAnswers&)> onAnswers)
    : bus_(bus), applicationId_(std::move(applicationId)), onAnswers_(std::move(onAnswers)) {
  // No sender: connecting with one would block on the bus, and a signal only triggers a query.
  bus_.connect({}, kStorePath, kStore, "Changed", {kTable, kMicrophone}, {}, this, SLOT(ask()));
  bus_.connect({}, kLockdownPath, kProperties, "PropertiesChanged", {kLockdown}, {}, this,
               SLOT(ask()));
  for (const QString service : kServices) {
    bus_.connect({}, "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged", {service},
                 {}, this, SLOT(ask()));
  }
  ask();
}

PortalWatch::~PortalWatch() = default;

void PortalWatch::ask() {
  for (std::size_t i = 0; i < asked_.size(); ++i) {
    const bool isStore = i == 0;
    auto call =
        isStore ? QDBusMessage::createMethodCall(kStore, kStorePath, kStore, "Lookup")
                : QDBusMessage::createMethodCall(kServices[i], kLockdownPath, kProperties, "Get");
    if (isStore) {
      call << kTable << kMicrophone;
    } else {
      call << kLockdown << "disable-microphone";
      call.setAutoStartService(false);  // a desktop that does not run locks nothing
    }
    asked_[i] = std::make_unique<QDBusPendingCallWatcher>(bus_.asyncCall(call, kTimeoutMs));
    connect(asked_[i].get(), &QDBusPendingCallWatcher::finished, this,
            [this] { reportIfChanged(); });
  }
}

void PortalWatch::reportIfChanged() {
  if (!std::ranges::all_of(asked_, [](const auto& call) { return call->isFinished(); })) return;
  const PortalAnswers answers{
      .stored = storedAnswer(asked_[0]->reply(), applicationId_),
      .lockedDown = isLockedDown(asked_[1]->reply()) || isLockedDown(asked_[2]->reply())};
  if (reported_ == answers) return;
  reported_ = answers;
  onAnswers_(answers);
}

}  // namespace quorin::desktop
