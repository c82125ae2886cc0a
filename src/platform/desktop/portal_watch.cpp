#include "platform/desktop/portal_watch.h"

#include <QDBusArgument>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
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
constexpr std::array kLockdownServices = {"org.freedesktop.impl.portal.desktop.gnome",
                                          "org.freedesktop.impl.portal.desktop.gtk"};
constexpr auto kProperties = "org.freedesktop.DBus.Properties";

/// After this a desktop that does not answer counts as one that has nothing to say.
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
  subscribe();
  askStore();
  askLockdowns();
}

PortalWatch::~PortalWatch() = default;

void PortalWatch::subscribe() {
  // No sender is named: naming one would wait for the bus, and what comes is only a hint to ask.
  bus_.connect({}, kStorePath, kStore, "Changed", this, SLOT(onStoreChanged(QString, QString)));
  bus_.connect({}, kLockdownPath, kProperties, "PropertiesChanged", {kLockdown}, {}, this,
               SLOT(onLockdownChanged()));
  QStringList services{kStore};
  std::ranges::copy(kLockdownServices, std::back_inserter(services));
  for (const QString& service : services) {
    bus_.connect({}, "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged", {service},
                 {}, this, SLOT(onOwnerChanged(QString, QString, QString)));
  }
}

void PortalWatch::onStoreChanged(const QString& table, const QString& id) {
  if (table == kTable && id == kMicrophone) askStore();
}

void PortalWatch::onLockdownChanged() {
  askLockdowns();
}

void PortalWatch::onOwnerChanged(const QString& service, const QString& /*oldOwner*/,
                                 const QString& newOwner) {
  // The store comes and goes as it is needed, what it holds stays; a desktop's lock goes with it.
  if (service != kStore) askLockdowns();
  if (service == kStore && !newOwner.isEmpty()) askStore();
}

void PortalWatch::askStore() {
  auto call = QDBusMessage::createMethodCall(kStore, kStorePath, kStore, "Lookup");
  call << kTable << kMicrophone;
  ask(stored_.asking, call,
      [this](const QDBusMessage& reply) { stored_.answer = storedAnswer(reply, applicationId_); });
}

void PortalWatch::askLockdowns() {
  for (std::size_t i = 0; i < kLockdownServices.size(); ++i) {
    auto call =
        QDBusMessage::createMethodCall(kLockdownServices[i], kLockdownPath, kProperties, "Get");
    call << kLockdown << "disable-microphone";
    call.setAutoStartService(false);  // a desktop that does not run locks nothing
    ask(lockedDown_[i].asking, call,
        [this, i](const QDBusMessage& reply) { lockedDown_[i].answer = isLockedDown(reply); });
  }
}

void PortalWatch::ask(Asking& asking, const QDBusMessage& call,
                      std::function<void(const QDBusMessage& reply)> take) {
  asking = std::make_unique<QDBusPendingCallWatcher>(bus_.asyncCall(call, kTimeoutMs));
  connect(asking.get(), &QDBusPendingCallWatcher::finished, this,
          [this, take = std::move(take)](QDBusPendingCallWatcher* done) {
            take(done->reply());
            tellIfChanged();
          });
}

void PortalWatch::tellIfChanged() {
  const auto answered = [](const auto& question) { return question.answer.has_value(); };
  if (!answered(stored_) || !std::ranges::all_of(lockedDown_, answered)) return;
  const PortalAnswers answers{
      .stored = *stored_.answer,
      .lockedDown =
          std::ranges::any_of(lockedDown_, [](const auto& question) { return *question.answer; })};
  if (told_ == answers) return;
  told_ = answers;
  onAnswers_(answers);
}

}  // namespace quorin::desktop
