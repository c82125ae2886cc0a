#include "window/pages.h"

#include "window/alert.h"
#include "window/guard_screen.h"

namespace quorin::app {
namespace {

/// Spares the layout a label whose text stays.
void setText(QLabel& label, const QString& text) {
  if (label.text() != text) label.setText(text);
}

}  // namespace

Pages::Pages(Parts parts)
    : parts_(parts), console_(parts.views.outputTextView, parts.views.inputTextField) {}

void Pages::open(Page page) {
  parts_.screens.update([page](ScreenState& state) { state.page = page; });
}

void Pages::openWiFiPage() {
  open(Page::kWifi);
}

void Pages::openMenuPage() {
  open(Page::kMenu);
  if (pageIsInFront(parts_.screens.state()) && menuShown_) menuShown_();
}

void Pages::openCablePage() {
  open(Page::kCable);
}

void Pages::leavePages() {
  if (stopQuestion_) stopQuestion_->reject();  // there is nothing left to stop
  open(Page::kMenu);
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
  QWidget* const window = parts_.views.contentView_.window();
  window->show();
  if (stopQuestion_) stopQuestion_->reject();  // another way to stop
  stopQuestion_ = askToStop(parts_.texts, window, std::move(stop));
}

void Pages::showPrivacyTerms() {
  app::showPrivacyTerms(parts_.texts, parts_.images, parts_.views.contentView_.window());
}

void Pages::apply(const GuardState& guard) {
  showGuardTexts(guard, parts_.texts, parts_.views);
  const bool appears = guard.guard && !parts_.screens.state().guard;
  parts_.screens.update([&guard](ScreenState& state) {
    state.microphoneDenied = guard.microphone;
    state.guard = guard.guard;
    state.checking = guard.checking;
  });
  if (appears) parts_.views.audioGuardSetUpButton_->setFocus();  // Return presses it
}

void Pages::showCable(const CableState& state) {
  parts_.views.cableStatusLabel->setText(state.connected
                                             ? QStringLiteral("Cable: Conectado")
                                             : parts_.texts.bundle("waiting_connection"));
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
  showSettingsHelp(parts_.texts, page, parts_.views.contentView_.window());
}

}  // namespace quorin::app
