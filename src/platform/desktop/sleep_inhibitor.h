#pragma once

#include "core/queue.h"

#include <QString>
#include <memory>

namespace quorin::desktop {

/// Keeps the computer from suspending by itself. The user's own wish to suspend is not touched.
/// Any thread; the desktop and logind are asked on the queue that may block.
class SleepInhibitor {
 public:
  /// `why` is what the desktop shows; the queue outlives this.
  SleepInhibitor(dispatch::Queue& background, QString why);

  /// Holds, or lets go. The end of the program lets go as well.
  void hold(bool wanted);

 private:
  struct Lock;

  dispatch::Queue& background_;
  std::shared_ptr<Lock> lock_;
};

}  // namespace quorin::desktop
