#include "app/background.h"

#include "core/identity.h"
#include "platform/desktop/tray.h"

#include <QApplication>
#include <utility>

namespace quorin::app {
namespace {

const auto kQuit = QStringLiteral("quit");

QString summaryOf(News news, const Texts& texts) {
  switch (news) {
    case News::kGoesOn:
      return texts.tr("notice.goes_on");
    case News::kJoined:
      return texts.tr("notice.joined");
    case News::kLeft:
      return texts.tr("notice.left");
    case News::kStopped:
      return texts.tr("notice.stopped");
    case News::kNotStarted:
      break;
  }
  return texts.tr("notice.not_started");
}

QString listenersText(const StreamState& state, const Texts& texts) {
  return texts.tr("notice.listeners", static_cast<int>(state.listeners));
}

/// The tray icon's text for the stream.
QString stateText(const StreamState& state, const Texts& texts) {
  if (!state.streaming) return texts.tr("tray.idle");
  return state.problem.isEmpty() ? listenersText(state, texts) : state.problem;
}

}  // namespace

Background::Background(dispatch::Queue& background, const Texts& texts, Actions actions)
    : texts_(texts),
      actions_(std::move(actions)),
      tray_(desktop::watchTray([this] { showIcon(); })),
      notifier_([this](const QString& action, const QString& token) {
        (action == kQuit ? actions_.quit : actions_.show)(token);
      }),
      inhibitor_(background, texts.tr("notice.awake")) {
  menu_.addAction(texts.tr("tray.show"), [this] { actions_.show({}); });
  playHere_ = menu_.addAction(texts.tr("play_here"));
  playHere_->setCheckable(true);
  QObject::connect(playHere_, &QAction::triggered, &menu_,
                   [this](bool checked) { actions_.playHere(checked); });
  stop_ = menu_.addAction(texts.tr("tray.stop"), [this] { actions_.stop(); });
  menu_.addSeparator();
  menu_.addAction(texts.tr("tray.quit"), [this] { actions_.quit({}); });

  offerPlayHere(false, false);
  update({});
}

void Background::showIcon() {
  if (icon_) return;
  icon_.emplace(QApplication::windowIcon());
  icon_->setContextMenu(&menu_);
  icon_->setToolTip(toolTip_);
  QObject::connect(&*icon_, &QSystemTrayIcon::activated, &menu_,
                   [this](QSystemTrayIcon::ActivationReason reason) {
                     if (reason == QSystemTrayIcon::Trigger) actions_.show({});
                   });
  icon_->show();
}

void Background::offerPlayHere(bool offered, bool on) {
  playHere_->setVisible(offered);
  playHere_->setChecked(on);
}

void Background::update(const StreamState& state) {
  toolTip_ = QString::fromLatin1(kProgramName) + ": " + stateText(state, texts_);
  if (icon_) icon_->setToolTip(toolTip_);
  stop_->setEnabled(state.streaming);
  if (const auto news = news_.take(state)) notify(*news, state);
  if (state.windowShown) notifier_.withdraw();

  const bool isHeard = state.listeners > 0;
  if (std::exchange(heard_, isHeard) != isHeard) inhibitor_.hold(isHeard);
}

void Background::notify(News news, const StreamState& state) {
  const auto body = news == News::kStopped      ? texts_.tr("notice.stopped.info")
                    : news == News::kNotStarted ? state.problem
                                                : listenersText(state, texts_);
  const auto show = texts_.tr("tray.show");
  notifier_.show(summaryOf(news, texts_), body,
                 {"default", show, "show", show, kQuit, texts_.tr("tray.quit")});
}

}  // namespace quorin::app
