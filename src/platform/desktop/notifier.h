#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>

namespace quorin::desktop {

/// One desktop notification (org.freedesktop.Notifications); a later one replaces it. Does nothing
/// without a notification service. GUI thread; never waits.
class Notifier : public QObject {
  Q_OBJECT

 public:
  /// `chosen` gets the key of the action that the user has chosen, "default" for a click on the
  /// notification itself, and the activation token for a window; may be empty.
  using Chosen = std::function<void(const QString& action, const QString& activationToken)>;
  explicit Notifier(Chosen chosen);
  ~Notifier() override { withdraw(); }

  /// `actions`: key, label, key, label.
  void show(const QString& summary, const QString& body, const QStringList& actions);
  void withdraw();

 private slots:
  void onShown(uint id) { id_ = id; }
  void onActivationToken(uint id, const QString& token);
  void onActionInvoked(uint id, const QString& action);

 private:
  Chosen chosen_;
  uint id_ = 0;  ///< the desktop's number for what is shown; 0: nothing
  QString token_;
};

}  // namespace quorin::desktop
