#include "platform/desktop/microphone_permission.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QFile>
#include <QSettings>
#include <algorithm>
#include <array>
#include <utility>

namespace quorin::desktop {

using namespace std::chrono_literals;

namespace {

constexpr auto kRetryInterval = 2s;
/// A desktop that has not answered by then counts as one without settings.
constexpr int kPortalTimeoutMs = 2000;

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

StoredAnswer storedAnswer(const QDBusMessage& reply, const QString& applicationId) {
  // Lookup gives (a{sas} permissions, v data).
  if (!reply.signature().startsWith("a{sas}")) return StoredAnswer::kNone;
  const auto permissions = qdbus_cast<QMap<QString, QStringList>>(reply.arguments().constFirst());
  const QStringList mine = permissions.value(applicationId);
  if (mine.isEmpty()) return StoredAnswer::kNone;
  if (mine.constFirst() == "yes") return StoredAnswer::kYes;
  if (mine.constFirst() == "no") return StoredAnswer::kNo;
  return StoredAnswer::kAsk;
}

bool isLockedDown(const QDBusMessage& reply) {
  return reply.arguments().value(0).value<QDBusVariant>().variant().toBool();
}

/// Queries the desktop's stored microphone permission for this program, again after every change
/// signal. `onAnswers` is called when all services have answered or failed to (within 2 s). Never
/// waits.
class PortalWatch : public QObject {
  Q_OBJECT
 public:
  PortalWatch(const QDBusConnection& bus, QString applicationId,
              std::function<void(const PortalAnswers&)> onAnswers)
      : bus_(bus), applicationId_(std::move(applicationId)), onAnswers_(std::move(onAnswers)) {
    // No sender: connecting with one would block on the bus, and a signal only triggers a query.
    bus_.connect({}, kStorePath, kStore, "Changed", {kTable, kMicrophone}, {}, this, SLOT(ask()));
    bus_.connect({}, kLockdownPath, kProperties, "PropertiesChanged", {kLockdown}, {}, this,
                 SLOT(ask()));
    for (const QString service : kServices) {
      bus_.connect({}, "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged",
                   {service}, {}, this, SLOT(ask()));
    }
    ask();
  }

 private slots:
  void ask() {
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
      asked_[i] = std::make_unique<QDBusPendingCallWatcher>(bus_.asyncCall(call, kPortalTimeoutMs));
      connect(asked_[i].get(), &QDBusPendingCallWatcher::finished, this, [this] { report(); });
    }
  }

 private:
  void report() {
    if (!std::ranges::all_of(asked_, [](const auto& call) { return call->isFinished(); })) return;
    onAnswers_(
        {.stored = storedAnswer(asked_[0]->reply(), applicationId_),
         .lockedDown = isLockedDown(asked_[1]->reply()) || isLockedDown(asked_[2]->reply())});
  }

  QDBusConnection bus_;
  const QString applicationId_;
  const std::function<void(const PortalAnswers&)> onAnswers_;
  /// The latest call to each of `kServices`.
  std::array<std::unique_ptr<QDBusPendingCallWatcher>, kServices.size()> asked_;
};

QDBusConnection connectTo(const std::string& address) {
  if (address.empty()) return QDBusConnection::sessionBus();
  const auto name = QString::fromStdString(address);
  return QDBusConnection::connectToBus(name, name);
}

}  // namespace

Identity identify(std::string ownId, const std::string& flatpakInfo) {
  if (const auto file = QString::fromStdString(flatpakInfo); QFile::exists(file)) {
    const auto name = QSettings(file, QSettings::IniFormat).value("Application/name").toString();
    return {.applicationId = name.toStdString(), .sandboxed = true};
  }
  if (const auto snap = qgetenv("SNAP_INSTANCE_NAME"); !snap.isEmpty()) {
    return {.applicationId = "snap." + snap.toStdString(), .sandboxed = true};
  }
  return {.applicationId = std::move(ownId), .sandboxed = false};
}

MicrophonePermission::MicrophonePermission(dispatch::Scheduler& scheduler, Options options)
    : scheduler_(scheduler), options_(std::move(options)) {
  facts_.sandboxed = options_.identity.sandboxed;
  // Connecting blocks on the bus, so it runs on another queue.
  auto connected = scope_.bind([this](const QDBusConnection& bus) {
    if (!bus.isConnected()) return onPortalAnswers({});
    portal_ = std::make_unique<PortalWatch>(
        bus, QString::fromStdString(options_.identity.applicationId),
        [this](const PortalAnswers& answers) { onPortalAnswers(answers); });
  });
  scheduler_.backgroundQueue().async(
      [&main = scheduler_.mainQueue(), address = options_.busAddress, connected] {
        main.async([bus = connectTo(address), connected]() mutable { connected(bus); });
      });
}

void MicrophonePermission::requestAccess(dispatch::Task answered) {
  pending_.push_back(std::move(answered));
  asked_ = true;
  // Posted, so that the callback never runs inside this call.
  scheduler_.mainQueue().async(scope_, [this] { update(); });
  askForRecording();
}

void MicrophonePermission::reportRecording(std::optional<bool> granted) {
  facts_.mayRecord = granted;
  update();
}

void MicrophonePermission::onPortalAnswers(const PortalAnswers& answers) {
  const bool first = !std::exchange(facts_.portal, answers);
  update();
  if (first) askForRecording();
}

void MicrophonePermission::askForRecording() {
  // Whether the user must be asked is unknown until the desktop has answered.
  const bool pending = authorizationStatus(facts_) == AuthorizationStatus::kNotDetermined;
  if (!facts_.portal || !pending || pending_.empty()) return;
  hasAskedUser_ = facts_.sandboxed;
  options_.tryToRecord();
}

void MicrophonePermission::update() {
  const auto status = authorizationStatus(facts_);
  status_.store(status, std::memory_order_release);
  if (status != AuthorizationStatus::kNotDetermined) {
    for (auto& answered : std::exchange(pending_, {}))
      scheduler_.mainQueue().async(std::move(answered));
  }
  const bool due = asked_ && facts_.portal && status == AuthorizationStatus::kNotDetermined;
  if (facts_.mayRecord != false && !due) {
    retry_.reset();
  } else if (!retry_) {
    retry_ = scheduler_.mainQueue().makeTimer(
        {.first = kRetryInterval, .interval = kRetryInterval, .leeway = 200ms},
        [this] { options_.tryToRecord(); });
  }
}

}  // namespace quorin::desktop

#include "microphone_permission.moc"
