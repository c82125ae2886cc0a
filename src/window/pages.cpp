#include "window/pages.h"

#include "ui/appearance.h"
#include "window/alert.h"

namespace quorin::app {
namespace {

/// Spares the layout a label whose text stays.
void setText(QLabel& label, const QString& text) {
  if (label.text() != text) label.setText(text);
}

void showStatus(NonInteractiveLabel& label, const QString& prefix, const DeviceStatus& status) {
  setText(label, QStringLiteral("%1: %2").arg(prefix, QString::fromStdString(status.name)));
  label.setTextColor(status.right ? colors::kGreen : colors::kOrange);
}

}  // namespace

Pages::Pages(Parts parts)
    : parts_(parts), console_(*parts.views.outputTextView, *parts.views.inputTextField) {}

void Pages::open(Page page) {
  parts_.screens.update([page](ScreenState& state) { state.page = page; });
  const bool isMenuShown = page == Page::kMenu && pageIsInFront(parts_.screens.state());
  if (isMenuShown && menuShown_) menuShown_();
}

void Pages::leavePages() {
  if (stopQuestion_) stopQuestion_->reject();  // there is nothing left to stop
  parts_.screens.update([](ScreenState& state) { state.page = Page::kMenu; });
}

void Pages::showWiFiPage(const WiFiPage& page) {
  const auto& views = parts_.views;
  setText(*views.onlineTitleLabel_, page.title);
  setText(*views.onlineDetailLabel_, page.detail);
  setText(*views.onlineInfoLabel_, page.info);
  views.onlineIPField_->setText(page.address);
  views.onlinePortField_->setText(page.port);
  views.onlineAddressView_->showAddress(page.codeText, page.networks);
  if (page.otherPort) {
    views.onlineOtherPortButton_->setText(
        parts_.texts.tr("port.use", QString::number(*page.otherPort)));
  }
  if (page.code && views.onlineQRImageView_->content() != page.codeText) {
    views.onlineQRImageView_->showCode(page.code, page.codeText);
    views.onlineQRImageView_->setAccessibleName(parts_.texts.tr("address.copy_it", page.codeText));
  }
  for (std::size_t i = 0; i < std::min(page.phones.size(), views.onlineStatusDots_.size()); ++i) {
    views.onlineStatusDots_[i]->setPhone(page.phones[i].endpoint, page.phones[i].description);
  }
  parts_.screens.update([&](ScreenState& state) {
    state.wifi = page.content;
    state.otherPort = page.otherPort.has_value();
    state.clients = static_cast<int>(page.phones.size());
  });
}

void Pages::presentMessage(const QString& text, bool isStatus) {
  console_.presentMessage(text, isStatus);
}

void Pages::confirmStop(std::function<void()> stop) {
  QWidget* const window = parts_.views.contentView->window();
  window->show();
  if (stopQuestion_) stopQuestion_->reject();  // another way to stop
  stopQuestion_ = askToStop(parts_.texts, window, std::move(stop));
}

void Pages::openPrivacyTerms() {
  showPrivacyTerms(parts_.texts, parts_.views.contentView->window());
}

void Pages::apply(const GuardState& guard) {
  const Texts& texts = parts_.texts;
  const Views& views = parts_.views;
  const auto text =
      guard.hasServer ? TrKey::find(guard.textKey) : TrKey("audio.guard.text.no_server");
  if (text) setText(*views.audioGuardTextLabel_, texts.tr(*text));
  views.audioGuardSetUpButton_->setText(
      texts.tr(guard.settingUp ? TrKey("audio.guard.setup.working") : TrKey("audio.guard.setup")));
  const auto failure = TrKey::find(guard.setUpFailureKey);
  setText(*views.audioGuardSetUpNoteLabel_,
          texts.tr(failure.value_or(TrKey("audio.guard.setup.note"))));
  views.audioGuardSetUpNoteLabel_->setTextColor(failure ? colors::kOrange : colors::kLightGrey);
  showStatus(*views.audioGuardStatusOutLabel_,
             texts.tr(guard.output.right ? TrKey("audio.guard.status.out.ok")
                                         : TrKey("audio.guard.status.out.missing")),
             guard.output);
  showStatus(*views.audioGuardStatusInLabel_,
             texts.tr(guard.input.right ? TrKey("audio.guard.status.in.ok")
                                        : TrKey("audio.guard.status.in.missing")),
             guard.input);
  parts_.screens.update([&guard](ScreenState& state) {
    state.microphoneDenied = guard.microphone;
    state.guard = guard.guard;
    state.checking = guard.checking;
  });
}

void Pages::showCable(const CableState& state) {
  parts_.views.cableStatusLabel->setText(state.connected ? QStringLiteral("Cable: Conectado")
                                                         : parts_.texts.tr("waiting_connection"));
  setText(state.connected ? *parts_.views.connectedLabel_ : *parts_.views.usbSecondary2Label_,
          cableText(state, parts_.texts));
  parts_.screens.update([&state](ScreenState& screen) { screen.channelOpen = state.connected; });
}

void Pages::showSound(const Sound& sound) {
  const Texts& texts = parts_.texts;
  const Views& views = parts_.views;
  const auto& elsewhere = sound.elsewhere;
  const bool movable = elsewhere.muted || !elsewhere.program.isEmpty();
  setText(*views.silenceLabel_,
          elsewhere.muted ? texts.tr("status.silent.muted")
          : movable       ? texts.tr("status.silent.elsewhere", elsewhere.program, elsewhere.device)
                          : texts.tr("status.silent"));
  views.silenceMoveButton_->setText(elsewhere.muted ? texts.tr("status.silent.unmute")
                                                    : texts.tr("status.silent.move"));
  views.playHereBox_->setChecked(sound.playsHere);
  parts_.screens.update([&](ScreenState& state) {
    state.lent = sound.lent;
    state.silent = sound.silent;
    state.mayBeMoved = movable;
  });
}

void Pages::showSplashGone() {
  parts_.screens.update([](ScreenState& state) { state.splash = false; });
}

void Pages::showSettingsMissing(desktop::SettingsPage page) {
  showSettingsHelp(parts_.texts, page, parts_.views.contentView->window());
}

}  // namespace quorin::app
