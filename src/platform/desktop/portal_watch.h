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

/// Asks the desktop what it holds about this program and the microphone, and again whenever it
/// says that something changed. Confined to its thread, which runs an event loop; never waits.
class PortalWatch : public QObject {
  Q_OBJECT

 public:
  /// `onAnswers` is called when everybody has answered or failed to (within 2 s), then after
  /// every change.
  PortalWatch(const QDBusConnection& bus, QString applicationId,
              std::function<void(const PortalAnswers&)> onAnswers);
  ~PortalWatch() override;

 private slots:
  void onStoreChanged(const QString& table, const QString& id);
  void onLockdownChanged();
  void onOwnerChanged(const QString& service, const QString& oldOwner, const QString& newOwner);

 private:
  using Asking = std::unique_ptr<QDBusPendingCallWatcher>;
  /// One question, its latest answer and the asking under way, which takes the place of the one
  /// before.
  template <typename Answer>
  struct Question {
    std::optional<Answer> answer;
    Asking asking;
  };
  void ask(Asking& asking, const QDBusMessage& call,
           std::function<void(const QDBusMessage& reply)> take);

  void subscribe();
  void askStore();
  void askLockdowns();
  void tellIfChanged();

  QDBusConnection bus_;
  const QString applicationId_;
  const std::function<void(const PortalAnswers&)> onAnswers_;
  Question<StoredAnswer> stored_;
  std::array<Question<bool>, 2> lockedDown_;  ///< one for each of the desktops that may know
  std::optional<PortalAnswers> told_;
};

}  // namespace quorin::desktop
