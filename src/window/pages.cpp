#include "window/pages.h"

#include "ui/appearance.h"
#include "window/alert.h"

namespace quorin::app {
namespace {

/// Avoids a relayout for an unchanged text.
void setText(QLabel& label, const QString& text) {
  if (label.text() != text) label.setText(text);
}

void showStatus(NonInteractiveLabel& label, const QString& prefix, const DeviceStatus& status) {
  setText(label, QStringLiteral("%1: %2").arg(prefix, QString::fromStdString(status.name)));
  label.setTextColor(status.right ? colors::kGreen : colors::kOrange);
}

}  // namespace

Pages::Pages(const Texts& texts, Views& views, Screens& screens)
    : texts_(texts),
      views_(views),
      screens_(screens),
      console_(*views.outputTextView, *views.inputTextField) {}

void Pages::open(Page page) {
  screens_.update([page](ScreenState& state) { state.page = page; });
  if (page == Page::kMenu && pageIsInFront(screens_.state())) callbacks_.menuShown();
}

void Pages::leavePages() {
  if (stopQuestion_) stopQuestion_->reject();  // there is nothing left to stop
  screens_.update([](ScreenState& state) { state.page = Page::kMenu; });
}

void Pages::showWiFiPage(const WiFiPage& page) {
  setText(*views_.onlineTitleLabel_, page.title);
  setText(*views_.onlineDetailLabel_, page.detail);
  setText(*views_.onlineInfoLabel_, page.info);
  views_.onlineIPField_->setText(page.address);
  views_.onlinePortField_->setText(page.port);
  views_.onlineAddressView_->showAddress(page.codeText, page.networks);
  if (page.otherPort) {
    views_.onlineOtherPortButton_->setText(texts_.tr("port.use", QString::number(*page.otherPort)));
  }
  if (page.code && views_.onlineQRImageView_->content() != page.codeText) {
    views_.onlineQRImageView_->showCode(page.code, page.codeText);
    views_.onlineQRImageView_->setAccessibleName(texts_.tr("address.copy_it", page.codeText));
  }
  for (std::size_t i = 0; i < std::min(page.phones.size(), views_.onlineStatusDots_.size()); ++i) {
    views_.onlineStatusDots_[i]->setPhone(page.phones[i].endpoint, page.phones[i].description);
  }
  screens_.update([&](ScreenState& state) {
    state.wifi = page.content;
    state.otherPort = page.otherPort.has_value();
    state.clients = static_cast<int>(page.phones.size());
  });
}

void Pages::confirmStop(std::function<void()> stop) {
  QWidget* const window = views_.contentView->window();
  window->show();
  if (stopQuestion_) stopQuestion_->reject();  // a newer question replaces it
  stopQuestion_ = askToStop(texts_, window, std::move(stop));
}

void Pages::apply(const GuardState& guard) {
  const auto text =
      guard.hasServer ? TrKey::find(guard.textKey) : TrKey("audio.guard.text.no_server");
  if (text) setText(*views_.audioGuardTextLabel_, texts_.tr(*text));
  views_.audioGuardSetUpButton_->setText(
      texts_.tr(guard.settingUp ? TrKey("audio.guard.setup.working") : TrKey("audio.guard.setup")));
  const auto failure = TrKey::find(guard.setUpFailureKey);
  setText(*views_.audioGuardSetUpNoteLabel_,
          texts_.tr(failure.value_or(TrKey("audio.guard.setup.note"))));
  views_.audioGuardSetUpNoteLabel_->setTextColor(failure ? colors::kOrange : colors::kLightGrey);
  showStatus(*views_.audioGuardStatusOutLabel_,
             texts_.tr(guard.output.right ? TrKey("audio.guard.status.out.ok")
                                          : TrKey("audio.guard.status.out.missing")),
             guard.output);
  showStatus(*views_.audioGuardStatusInLabel_,
             texts_.tr(guard.input.right ? TrKey("audio.guard.status.in.ok")
                                         : TrKey("audio.guard.status.in.missing")),
             guard.input);
  screens_.update([&guard](ScreenState& state) {
    state.microphoneDenied = guard.microphone;
    state.guard = guard.guard;
    state.checking = guard.checking;
  });
}

void Pages::showCable(const CableState& state) {
  views_.cableStatusLabel->setText(state.connected ? QStringLiteral("Cable: Conectado")
                                                   : texts_.tr("waiting_connection"));
  setText(state.connected ? *views_.connectedLabel_ : *views_.usbSecondary2Label_,
          cableText(state, texts_));
  screens_.update([&state](ScreenState& screen) { screen.channelOpen = state.connected; });
}

void Pages::showSound(const Sound& sound) {
  const auto& elsewhere = sound.elsewhere;
  const bool movable = elsewhere.muted || !elsewhere.program.isEmpty();
  setText(*views_.silenceLabel_,
          elsewhere.muted ? texts_.tr("status.silent.muted")
          : movable ? texts_.tr("status.silent.elsewhere", elsewhere.program, elsewhere.device)
                    : texts_.tr("status.silent"));
  views_.silenceMoveButton_->setText(elsewhere.muted ? texts_.tr("status.silent.unmute")
                                                     : texts_.tr("status.silent.move"));
  views_.playHereBox_->setChecked(sound.playsHere);
  screens_.update([&](ScreenState& state) {
    state.lent = sound.lent;
    state.silent = sound.silent;
    state.mayBeMoved = movable;
  });
}

void Pages::showSplashGone() {
  screens_.update([](ScreenState& state) { state.splash = false; });
}

}  // namespace quorin::app
