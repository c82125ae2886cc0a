#include "platform/desktop/microphone_permission.h"

#include "platform/desktop/portal_watch.h"

#include <QDBusConnection>
#include <QString>
#include <utility>

namespace quorin::desktop {

using namespace std::chrono_literals;

namespace {

constexpr auto kRetryInterval = 2s;

QDBusConnection connectTo(const std::string& address) {
  if (address.empty()) return QDBusConnection::sessionBus();
  const auto name = QString::fromStdString(address);
  return QDBusConnection::connectToBus(name, name);
}

}  // namespace

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

MicrophonePermission::~MicrophonePermission() = default;

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
