#include "platform/desktop/sleep_inhibitor.h"

#include "core/identity.h"
#include "core/log.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>
#include <QVariantMap>
#include <utility>

namespace quorin::desktop {
namespace {

constexpr int kTimeoutMs = 2000;

}  // namespace

/// Desktops suspend by their own rules, so the portal is asked first; without a portal, logind,
/// until its descriptor is closed.
struct SleepInhibitor::Lock {
  const QString why;
  QDBusUnixFileDescriptor logind{};

  void take() {
    constexpr uint kSuspend = 4;
    auto portal = QDBusMessage::createMethodCall("org.freedesktop.portal.Desktop",
                                                 "/org/freedesktop/portal/desktop",
                                                 "org.freedesktop.portal.Inhibit", "Inhibit");
    portal << QString() << kSuspend << QVariantMap{{"handle_token", "quorin"}, {"reason", why}};
    QDBusConnection::sessionBus().send(portal);

    auto idle = QDBusMessage::createMethodCall("org.freedesktop.login1", "/org/freedesktop/login1",
                                               "org.freedesktop.login1.Manager", "Inhibit");
    idle << "idle" << QString::fromLatin1(app::kProgramName) << why << "block";
    const QDBusReply<QDBusUnixFileDescriptor> answer =
        QDBusConnection::systemBus().call(idle, QDBus::Block, kTimeoutMs);
    if (answer.isValid()) logind = answer.value();
    log::detail("sleep", answer.isValid() ? "held off" : "logind does not hold it off");
  }

  void release() {
    logind = {};
    const auto bus = QDBusConnection::sessionBus();
    // The request's path is derived from this program's bus name: no need to wait for the reply.
    const auto sender = bus.baseService().mid(1).replace(u'.', u'_');
    bus.send(QDBusMessage::createMethodCall(
        "org.freedesktop.portal.Desktop",
        "/org/freedesktop/portal/desktop/request/" + sender + "/quorin",
        "org.freedesktop.portal.Request", "Close"));
    log::detail("sleep", "let go");
  }
};

SleepInhibitor::SleepInhibitor(dispatch::Queue& background, QString why)
    : background_(background), lock_(std::make_shared<Lock>(std::move(why))) {}

void SleepInhibitor::hold(bool wanted) {
  background_.async([lock = lock_, wanted] { wanted ? lock->take() : lock->release(); });
}

}  // namespace quorin::desktop
