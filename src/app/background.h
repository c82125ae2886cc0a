#pragma once

#include "app/stream_news.h"
#include "platform/desktop/notifier.h"
#include "platform/desktop/sleep_inhibitor.h"
#include "ui/texts.h"

#include <QMenu>
#include <QSystemTrayIcon>
#include <functional>
#include <memory>
#include <optional>

namespace quorin::app {

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
  /// Whether "Also play on this computer" is available, and whether it is on.
  void offerPlayHere(bool offered, bool on);

  const QMenu& menu() const { return menu_; }
  const QString& toolTip() const { return toolTip_; }

 private:
  void showIcon();
  void notify(News news, const StreamState& state);

  const Texts& texts_;
  Actions actions_;
  QMenu menu_;
  QAction* playHere_;
  QAction* stop_;
  QString toolTip_;
  std::unique_ptr<QObject> tray_;
  std::optional<QSystemTrayIcon> icon_;  ///< where the desktop has a tray
  StreamNews news_;
  desktop::Notifier notifier_;
  desktop::SleepInhibitor inhibitor_;
  bool heard_ = false;
};

}  // namespace quorin::app
