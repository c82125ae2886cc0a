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

const auto kPortal = QStringLiteral("org.freedesktop.portal.Desktop");
const auto kPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");

// Desktops suspend by their own rules, so the portal is asked first; without a portal, logind,
// until its descriptor is closed.

void take(QDBusUnixFileDescriptor& logind, const QString& why) {
  constexpr uint kSuspend = 4;
  auto portal = QDBusMessage::createMethodCall(kPortal, kPortalPath,
                                               "org.freedesktop.portal.Inhibit", "Inhibit");
  portal << QString() << kSuspend << QVariantMap{{"handle_token", "quorin"}, {"reason", why}};
  QDBusConnection::sessionBus().send(portal);

  constexpr int kTimeoutMs = 2000;
  auto idle = QDBusMessage::createMethodCall("org.freedesktop.login1", "/org/freedesktop/login1",
                                             "org.freedesktop.login1.Manager", "Inhibit");
  idle << "idle" << app::kProgramName << why << "block";
  const QDBusReply<QDBusUnixFileDescriptor> answer =
      QDBusConnection::systemBus().call(idle, QDBus::Block, kTimeoutMs);
  if (answer.isValid()) logind = answer.value();
  log::detail("sleep", answer.isValid() ? "held off" : "logind does not hold it off");
}

void release(QDBusUnixFileDescriptor& logind) {
  logind = {};
  const auto bus = QDBusConnection::sessionBus();
  // The request's path is derived from this program's bus name: no need to wait for the reply.
  const auto sender = bus.baseService().mid(1).replace(u'.', u'_');
  bus.send(QDBusMessage::createMethodCall(kPortal, kPortalPath + "/request/" + sender + "/quorin",
                                          "org.freedesktop.portal.Request", "Close"));
  log::detail("sleep", "let go");
}

}  // namespace

SleepInhibitor::SleepInhibitor(dispatch::Queue& background, QString why)
    : background_(background),
      why_(std::move(why)),
      logind_(std::make_shared<QDBusUnixFileDescriptor>()) {}

void SleepInhibitor::hold(bool wanted) {
  background_.async(
      [logind = logind_, why = why_, wanted] { wanted ? take(*logind, why) : release(*logind); });
}

}  // namespace quorin::desktop
