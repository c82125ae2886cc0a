#pragma once

#include "platform/desktop/notifier.h"
#include "platform/desktop/sleep_inhibitor.h"
#include "ui/texts.h"

#include <QMenu>
#include <QSystemTrayIcon>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>

namespace quorin::app {

struct StreamState {
  bool windowShown = true;
  bool streaming = false;  ///< a mode is open, and nothing stands in front of its page
  std::size_t listeners = 0;
  std::optional<TrKey> blocked{};  ///< why the guard or the microphone screen is in front
  QString problem{};               ///< why the server does not run; empty when it does
  bool lent = false;               ///< "Also play on this computer" is available
  bool playsHere = false;          ///< and it is on
};

/// Which changes of the stream are worth a notification while the window is hidden. Pure.
class StreamNews {
 public:
  /// The notification's title for the change from the previous state to `now`, if any.
  std::optional<TrKey> take(const StreamState& now);

 private:
  StreamState last_;
  bool hasSaidGoesOn_ = false;
};

/// What runs besides the window: the tray icon (if the desktop has a tray), notifications while the
/// window is closed, and a suspend inhibitor while a phone listens. Main thread.
class Background {
 public:
  struct Actions {
    std::function<void(const QString& activationToken)> show;
    std::function<void(const QString& activationToken)> quit;
    std::function<void()> stop;
    std::function<void(bool wanted)> playHere;
  };
  /// `texts` and the queue outlive this.
  Background(dispatch::Queue& background, const Texts& texts, Actions actions);

  void update(const StreamState& state);

  QMenu& menu() { return menu_; }

 private:
  void showIcon();
  void showText(const QString& state);

  const Texts& texts_;
  Actions actions_;
  QMenu menu_;
  QAction* state_;  ///< disabled row that shows the state, as the tool tip does
  QAction* playHere_;
  QAction* stop_;
  std::unique_ptr<QObject> tray_;
  std::optional<QSystemTrayIcon> icon_;  ///< where the desktop has a tray
  StreamNews news_;
  desktop::Notifier notifier_;
  desktop::SleepInhibitor inhibitor_;
  bool inhibits_ = false;
};

}  // namespace quorin::app
