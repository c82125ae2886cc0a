#pragma once

#include <QObject>
#include <QVariant>
#include <functional>

namespace quorin::app {

/// One instance of the program a user: the first one owns the program's name on the session bus,
/// a second one only asks the first for its window. Without a session bus every start is the
/// first. Main thread.
class SingleInstance : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

 public:
  /// `activated` runs whenever a later start, or the desktop, asks for the window; with the
  /// desktop's activation token, which may be empty.
  explicit SingleInstance(std::function<void(const QString& activationToken)> activated);
  ~SingleInstance() override;

  /// True when this is the first instance. Else the first has been asked for its window, and
  /// there is nothing left to do but to end.
  bool claim();

 public slots:
  // What the desktop calls, by name, on the bus.
  // NOLINTBEGIN(readability-identifier-naming): the names are the desktop's.
  Q_SCRIPTABLE void Activate(const QVariantMap& platformData);
  Q_SCRIPTABLE void Open(const QStringList& uris, const QVariantMap& platformData);
  Q_SCRIPTABLE void ActivateAction(const QString& name, const QVariantList& parameter,
                                   const QVariantMap& platformData);
  // NOLINTEND(readability-identifier-naming)

 private:
  bool owned_ = false;
  std::function<void(const QString&)> activated_;
};

}  // namespace quorin::app
