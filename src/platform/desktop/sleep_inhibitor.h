#pragma once

#include "core/queue.h"

#include <QString>
#include <memory>

class QDBusUnixFileDescriptor;

namespace quorin::desktop {

/// Keeps the computer from suspending by itself. The user can still suspend it. Any thread; D-Bus
/// calls run on the background queue.
class SleepInhibitor {
 public:
  /// `why` is what the desktop shows; the queue outlives this.
  SleepInhibitor(dispatch::Queue& background, QString why);

  /// Takes or releases the inhibitor. The end of the program releases it too.
  void hold(bool wanted);

 private:
  dispatch::Queue& background_;
  const QString why_;
  std::shared_ptr<QDBusUnixFileDescriptor> logind_;  ///< confined to the background queue
};

}  // namespace quorin::desktop
