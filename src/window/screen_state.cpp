#include "window/screen_state.h"

#include <algorithm>

namespace quorin::app {
namespace {

ViewSet streamControls(const ScreenState& state) {
  using enum View;
  ViewSet views = {levelMeter_};
  if (state.lent) views.add({playHereBox_});
  if (state.silent) views.add({silenceLabel_});
  if (state.silent && state.mayBeMoved) views.add({silenceMoveButton_});
  return views;
}

ViewSet wifiViews(const ScreenState& state) {
  using enum View;
  using Content = WiFiPage::Content;
  ViewSet views = {onlineContainer_, backButton_};
  switch (state.wifi) {
    case Content::kCode:
      views.add(streamControls(state));
      views.add({onlineQRImageView_, onlineQRMicroLabel_, onlineAddressView_, onlineInfoLabel_});
      break;
    case Content::kMessage:
      views.add({onlineTitleLabel_});
      break;
    case Content::kProblem:
      views.add({onlineTitleLabel_, onlineDetailLabel_, onlineRetryButton_});
      if (state.otherPort) views.add({onlineOtherPortButton_});
      break;
  }
  return views;
}

ViewSet pageViews(const ScreenState& state) {
  using enum View;
  switch (state.page) {
    case Page::kNone:
      return {};
    case Page::kMenu:
      return {menuContainer_,   menuHeaderLabel_,      menuOnlineButton_,  menuOnlineTitle_,
              menuOnlineNote_,  menuOnlineImageView_,  menuOfflineButton_, menuOfflineTitle_,
              menuOfflineNote_, menuOfflineImageView_, menuPrivacyButton_, menuCopyrightLabel_};
    case Page::kCable: {
      ViewSet views = streamControls(state);
      if (state.channelOpen) {
        views.add({connectedContainer_, connectedDotView_, connectedLabel_, backButton_});
      } else {
        views.add({instructionsBox_, usbMainLabel_, usbSecondary2Label_, backButton_});
      }
      return views;
    }
    case Page::kWifi:
      return wifiViews(state);
  }
  return {};
}

}  // namespace

ViewSet visibleViews(const ScreenState& state) {
  using enum View;
  if (state.splash) return {backgroundGradient_, splashOverlay_, splashImageView_};

  ViewSet visible = {backgroundGradient_, topLogoImageView_};
  if (state.microphoneDenied) {
    visible.add({micDeniedView_, micDeniedImageView_, micDeniedLabel_, micDeniedAllowButton_});
  } else if (state.guard) {
    visible.add({audioGuardView_, audioGuardTitleLabel_, audioGuardTextLabel_,
                 audioGuardStatusOutLabel_, audioGuardStatusInLabel_, audioGuardSetUpButton_,
                 audioGuardOpenSettingsButton_, audioGuardSetUpNoteLabel_});
  } else if (state.checking) {
    visible.add({audioCheckOverlay_, audioCheckLabel_});
  } else {
    visible.add(pageViews(state));
  }
  return visible;
}

bool pageIsInFront(const ScreenState& state) {
  return !state.splash && !state.microphoneDenied && !state.guard && !state.checking;
}

int visibleStatusDots(const ScreenState& state) {
  if (!visibleViews(state).contains(View::onlineInfoLabel_)) return 0;
  return std::clamp(state.clients, 0, kMaxStatusDots);
}

}  // namespace quorin::app
