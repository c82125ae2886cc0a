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
  const auto& state = parts_.screens.state();
  const bool inFront = !state.splash && !state.microphoneDenied && !state.guard && !state.checking;
  if (inFront && menuShown_) menuShown_();
}

void Pages::openCablePage() {
  open(Page::kCable);
}

void Pages::leavePages() {
  if (stopQuestion_) stopQuestion_->reject();  // there is nothing left to stop
  open(Page::kMenu);
}

void Pages::showWiFiPage(const WiFiPage& page) {
  auto& views = parts_.views;
  setText(*views.onlineTitleLabel_, page.title);
  setText(*views.onlineInfoLabel_, page.info);
  views.onlineIPField_->setText(page.address);
  views.onlinePortField_->setText(page.port);
  if (page.code && views.onlineQRImageView_->content() != page.codeText) {
    views.onlineQRMicroLabel_->setText(parts_.texts.bundle("pairing_instructions"));
    views.onlineQRImageView_->showCode(page.code, page.codeText);
  }
  parts_.screens.update([&](ScreenState& state) {
    state.wifi = page.networkMessage ? WifiContent::kMessage : WifiContent::kCode;
    state.clients = static_cast<int>(page.clients);
  });
}

void Pages::presentMessage(const QString& text, bool isStatus) {
  console_.presentMessage(text, isStatus);
}

void Pages::confirmStop(std::function<void()> stop) {
  stopQuestion_ = askToStop(parts_.texts, parts_.views.contentView_.window(), std::move(stop));
}

void Pages::showPrivacyTerms() {
  app::showPrivacyTerms(parts_.texts, parts_.images, parts_.views.contentView_.window());
}

void Pages::apply(const GuardState& guard) {
  showGuardTexts(guard, parts_.texts, parts_.views);
  parts_.screens.update([&guard](ScreenState& state) {
    state.microphoneDenied = guard.microphone;
    state.guard = guard.guard;
    state.checking = guard.checking;
  });
}

void Pages::showCable(const CableState& state) {
  cable_ = state;
  parts_.views.cableStatusLabel->setText(state.connected
                                             ? QStringLiteral("Cable: Conectado")
                                             : parts_.texts.bundle("waiting_connection"));
  if (!state.connected) setText(*parts_.views.usbSecondary2Label_, cableText(state, parts_.texts));
  parts_.screens.update([&state](ScreenState& screen) { screen.channelOpen = state.connected; });
  showConnectedText();
}

void Pages::showCableSilence(bool silent) {
  cableIsSilent_ = silent;
  showConnectedText();
}

// An app that does not answer hears nothing, whatever is played.
void Pages::showConnectedText() {
  const bool connected = cableStatus(cable_) == CableStatus::kConnected;
  setText(*parts_.views.connectedLabel_, connected && cableIsSilent_
                                             ? parts_.texts.tr("status.silent")
                                             : cableText(cable_, parts_.texts));
  parts_.screens.layoutUI();
}

void Pages::showSplashGone() {
  parts_.screens.update([](ScreenState& state) { state.splash = false; });
}

void Pages::showSettingsMissing(desktop::SettingsPage page) {
  showSettingsHelp(parts_.texts, page, parts_.views.contentView_.window());
}

}  // namespace quorin::app
