#pragma once

#include "platform/desktop/microphone_rules.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <array>
#include <functional>
#include <memory>
#include <optional>

class QDBusPendingCallWatcher;

namespace quorin::desktop {

/// Queries the desktop's stored microphone permission for this program, again after every change
/// signal. Confined to its thread, which runs an event loop; never waits.
class PortalWatch : public QObject {
  Q_OBJECT

 public:
  /// `onAnswers` is called when all services have answered or failed to (within 2 s), then after
  /// every change.
  PortalWatch(const QDBusConnection& bus, QString applicationId,
              std::function<void(const PortalAnswers&)> onAnswers);
  ~PortalWatch() override;

 private slots:
  void ask();

 private:
  void reportIfChanged();

  QDBusConnection bus_;
  const QString applicationId_;
  const std::function<void(const PortalAnswers&)> onAnswers_;
  /// The permission store, and each desktop that may have locked the microphone; a new round of
  /// questions replaces the one before.
  std::array<std::unique_ptr<QDBusPendingCallWatcher>, 3> asked_;
  std::optional<PortalAnswers> reported_;
};

}  // namespace quorin::desktop
