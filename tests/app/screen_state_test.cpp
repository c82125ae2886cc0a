#include "app/screen_state.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <ostream>
#include <vector>

namespace quorin::app {

void PrintTo(const ViewSet& views, std::ostream* out) {
  for (std::size_t i = 0; i < kViewCount; ++i) {
    if (views.contains(static_cast<View>(i))) *out << kViewNames[i] << ' ';
  }
}

namespace {

using enum View;

std::vector<ScreenState> everyState() {
  std::vector<ScreenState> states;
  for (int bits = 0; bits < 64; ++bits) {
    for (const Page page : {Page::kNone, Page::kMenu, Page::kCable, Page::kWifi}) {
      for (const int clients : {0, 1, 3, 10, 12}) {
        states.push_back({.splash = (bits & 1) != 0,
                          .microphoneDenied = (bits & 2) != 0,
                          .guard = (bits & 4) != 0,
                          .checking = (bits & 8) != 0,
                          .page = page,
                          .channelOpen = (bits & 16) != 0,
                          .wifi = (bits & 32) != 0 ? WifiContent::kMessage : WifiContent::kCode,
                          .clients = clients});
      }
    }
  }
  return states;
}

struct Screen {
  const char* name;
  bool (*isDue)(const ScreenState&);
  ViewSet views;  ///< besides the background
};

/// The highest first: a state shows the first that is due.
const std::vector<Screen> kScreens = {
    {"splash", [](const ScreenState& s) { return s.splash; }, {splashOverlay_, splashImageView_}},
    {"microphone denied",
     [](const ScreenState& s) { return s.microphoneDenied; },
     {topLogoImageView_, micDeniedView_, micDeniedImageView_, micDeniedLabel_,
      micDeniedAllowButton_}},
    {"guard",
     [](const ScreenState& s) { return s.guard; },
     {topLogoImageView_, audioGuardView_, audioGuardTitleLabel_, audioGuardTextLabel_,
      audioGuardStatusOutLabel_, audioGuardStatusInLabel_, audioGuardOpenSettingsButton_}},
    {"check",
     [](const ScreenState& s) { return s.checking; },
     {topLogoImageView_, audioCheckOverlay_, audioCheckLabel_}},
    {"menu",
     [](const ScreenState& s) { return s.page == Page::kMenu; },
     {topLogoImageView_, menuContainer_, menuHeaderLabel_, menuOnlineButton_, menuOnlineTitle_,
      menuOnlineNote_, menuOnlineImageView_, menuOfflineButton_, menuOfflineTitle_,
      menuOfflineNote_, menuOfflineImageView_, menuPrivacyButton_, menuCopyrightLabel_}},
    {"cable, connected",
     [](const ScreenState& s) { return s.page == Page::kCable && s.channelOpen; },
     {topLogoImageView_, connectedContainer_, connectedDotView_, connectedLabel_, backButton_}},
    {"cable, waiting",
     [](const ScreenState& s) { return s.page == Page::kCable; },
     {topLogoImageView_, instructionsBox_, usbMainLabel_, usbSecondary2Label_, backButton_}},
    {"wifi without network",
     [](const ScreenState& s) { return s.page == Page::kWifi && s.wifi == WifiContent::kMessage; },
     {topLogoImageView_, onlineContainer_, onlineTitleLabel_, backButton_}},
    {"wifi",
     [](const ScreenState& s) { return s.page == Page::kWifi; },
     {topLogoImageView_, onlineContainer_, onlineQRImageView_, onlineQRMicroLabel_,
      onlineQRWifiLabel_, onlineInfoLabel_, backButton_}},
    {"nothing yet", [](const ScreenState&) { return true; }, {topLogoImageView_}},
};

TEST(ScreenStateTest, EveryStateShowsItsHighestScreenAndNothingElse) {
  for (const ScreenState& state : everyState()) {
    const auto screen =
        std::ranges::find_if(kScreens, [&](const Screen& due) { return due.isDue(state); });
    ViewSet expected = screen->views;
    expected.add({backgroundGradient_});
    EXPECT_EQ(visibleViews(state), expected) << screen->name;
  }
}

TEST(ScreenStateTest, DotsFollowTheInfoLine) {
  for (const ScreenState& state : everyState()) {
    const bool infoShown = visibleViews(state).contains(onlineInfoLabel_);
    EXPECT_EQ(visibleStatusDots(state), infoShown ? std::min(state.clients, 10) : 0);
  }
}

}  // namespace
}  // namespace quorin::app
