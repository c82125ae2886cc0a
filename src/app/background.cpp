#include "app/background.h"

#include "core/identity.h"
#include "platform/desktop/tray.h"

#include <QApplication>
#include <utility>

namespace quorin::app {
namespace {

const auto kQuit = QStringLiteral("quit");

/// For the tray icon and the notifications.
QString stateText(const StreamState& state, const Texts& texts) {
  if (state.blocked) return texts.tr(*state.blocked);
  if (!state.streaming) return texts.tr("tray.idle");
  return state.problem.isEmpty() ? texts.tr("notice.listeners", static_cast<int>(state.listeners))
                                 : state.problem;
}

}  // namespace

std::optional<TrKey> StreamNews::take(const StreamState& now) {
  const auto before = std::exchange(last_, now);
  if (now.windowShown) return std::nullopt;
  if (before.streaming && now.blocked) return TrKey("notice.stopped");
  if (before.windowShown && !std::exchange(hasSaidGoesOn_, true)) return TrKey("notice.goes_on");
  if (!now.streaming || before.windowShown) return std::nullopt;
  if (!now.problem.isEmpty() && now.problem != before.problem) return TrKey("notice.not_started");
  if (now.listeners > before.listeners) return TrKey("notice.joined");
  if (now.listeners < before.listeners) return TrKey("notice.left");
  return std::nullopt;
}

Background::Background(dispatch::Queue& background, const Texts& texts, Actions actions)
    : texts_(texts),
      actions_(std::move(actions)),
      tray_(desktop::watchTray([this] { showIcon(); })),
      notifier_([this](const QString& action, const QString& token) {
        (action == kQuit ? actions_.quit : actions_.show)(token);
      }),
      inhibitor_(background, texts.tr("notice.awake")) {
  state_ = menu_.addAction(QString());
  state_->setEnabled(false);
  menu_.addSeparator();
  menu_.addAction(texts.tr("tray.show"), [this] { actions_.show({}); });
  playHere_ = menu_.addAction(texts.tr("play_here"));
  playHere_->setCheckable(true);
  QObject::connect(playHere_, &QAction::triggered, &menu_,
                   [this](bool checked) { actions_.playHere(checked); });
  stop_ = menu_.addAction(texts.tr("tray.stop"), [this] { actions_.stop(); });
  menu_.addSeparator();
  menu_.addAction(texts.tr("tray.quit"), [this] { actions_.quit({}); });

  update({});
}

void Background::showIcon() {
  if (icon_) return;
  icon_.emplace(QApplication::windowIcon());
  icon_->setContextMenu(&menu_);
  showText(state_->text());
  QObject::connect(&*icon_, &QSystemTrayIcon::activated, &menu_,
                   [this](QSystemTrayIcon::ActivationReason reason) {
                     if (reason == QSystemTrayIcon::Trigger) actions_.show({});
                   });
  icon_->show();
}

void Background::showText(const QString& state) {
  state_->setText(state);
  if (icon_) icon_->setToolTip(QString::fromLatin1(kProgramName) + ": " + state);
}

void Background::update(const StreamState& state) {
  const auto text = stateText(state, texts_);
  showText(text);
  stop_->setEnabled(state.streaming);
  playHere_->setVisible(state.lent);
  playHere_->setChecked(state.playsHere);

  if (const auto title = news_.take(state)) {
    const auto show = texts_.tr("tray.show");
    notifier_.show(texts_.tr(*title), text,
                   {"default", show, "show", show, kQuit, texts_.tr("tray.quit")});
  }
  if (state.windowShown) notifier_.withdraw();

  const bool isHeard = state.listeners > 0;
  if (std::exchange(inhibits_, isHeard) != isHeard) inhibitor_.hold(isHeard);
}

}  // namespace quorin::app
