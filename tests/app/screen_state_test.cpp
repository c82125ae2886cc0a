#include "app/screen_state.h"

#include <gmock/gmock.h>

#include <ostream>
#include <string>
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

std::string describe(const ScreenState& s) {
  const char* pages[] = {"none", "menu", "cable", "wifi"};
  return std::string(s.splash ? "splash " : "") + (s.microphoneDenied ? "microphone " : "") +
         (s.guard ? "guard " : "") + (s.checking ? "checking " : "") +
         (s.channelOpen ? "channel " : "") + pages[static_cast<int>(s.page)] +
         (s.wifi == WifiContent::kMessage ? " message " : " code ") + std::to_string(s.clients);
}

const ViewSet kMenuViews = {menuContainer_,        menuHeaderLabel_,   menuOnlineButton_,
                            menuOnlineTitle_,      menuOnlineNote_,    menuOnlineImageView_,
                            menuOfflineButton_,    menuOfflineTitle_,  menuOfflineNote_,
                            menuOfflineImageView_, menuPrivacyButton_, menuCopyrightLabel_};

struct Screen {
  const char* name;
  ScreenState state;
  ViewSet views;  ///< besides the background
};

const std::vector<Screen> kScreens = {
    {"splash", {}, {splashOverlay_, splashImageView_}},
    {"nothing yet", {.splash = false}, {topLogoImageView_}},
    {"check",
     {.splash = false, .checking = true},
     {topLogoImageView_, audioCheckOverlay_, audioCheckLabel_}},
    {"microphone denied",
     {.splash = false, .microphoneDenied = true},
     {topLogoImageView_, micDeniedView_, micDeniedImageView_, micDeniedLabel_,
      micDeniedAllowButton_}},
    {"guard",
     {.splash = false, .guard = true},
     {topLogoImageView_, audioGuardView_, audioGuardTitleLabel_, audioGuardTextLabel_,
      audioGuardStatusOutLabel_, audioGuardStatusInLabel_, audioGuardOpenSettingsButton_}},
    {"cable, waiting",
     {.splash = false, .page = Page::kCable},
     {topLogoImageView_, instructionsBox_, usbMainLabel_, usbSecondary2Label_, backButton_}},
    {"cable, connected",
     {.splash = false, .page = Page::kCable, .channelOpen = true},
     {topLogoImageView_, connectedContainer_, connectedDotView_, connectedLabel_, backButton_}},
    {"wifi",
     {.splash = false, .page = Page::kWifi},
     {topLogoImageView_, onlineContainer_, onlineQRImageView_, onlineQRMicroLabel_,
      onlineQRWifiLabel_, onlineInfoLabel_, backButton_}},
    {"wifi without network",
     {.splash = false, .page = Page::kWifi, .wifi = WifiContent::kMessage},
     {topLogoImageView_, onlineContainer_, onlineTitleLabel_, backButton_}},
};

TEST(ScreenStateTest, EachScreenShowsItsViewsAndNoOthers) {
  for (const auto& [name, state, views] : kScreens) {
    ViewSet expected = views;
    expected.add({backgroundGradient_});
    EXPECT_EQ(visibleViews(state), expected) << name;
  }
  ViewSet menu = kMenuViews;
  menu.add({backgroundGradient_, topLogoImageView_});
  EXPECT_EQ(visibleViews({.splash = false, .page = Page::kMenu}), menu);
}

/// "While the first is visible, none of the others is": what showing a view hides.
struct Exclusion {
  View view;
  ViewSet hides;
};

const std::vector<Exclusion> kExclusions = {
    {splashOverlay_,
     {topLogoImageView_, menuContainer_, audioCheckOverlay_, audioGuardView_, micDeniedView_,
      instructionsBox_, connectedContainer_, onlineContainer_, backButton_}},
    {micDeniedView_,
     {menuContainer_, onlineContainer_, connectedContainer_, instructionsBox_, bottomBar_,
      backButton_, audioCheckOverlay_, audioGuardView_}},
    {audioGuardView_,
     {menuContainer_, onlineContainer_, onlineSwiftUIView_, onlineQRImageView_, onlineQRMicroLabel_,
      onlineQRWifiLabel_, onlineTitleLabel_, onlineStartButton_, onlineStopButton_, onlineQRButton_,
      onlineInfoLabel_, backButton_, connectedContainer_, instructionsBox_, usbMainLabel_,
      usbSecondary2Label_, bottomBar_, cableStatusLabel}},
    {audioCheckOverlay_, {menuContainer_, audioGuardView_, onlineContainer_, instructionsBox_}},
    {menuContainer_,
     {offlineLabel, instructionsBox_, bottomBar_, connectedContainer_, onlineContainer_,
      backButton_, micDeniedView_}},
    {onlineContainer_,
     {menuContainer_, offlineLabel, instructionsBox_, bottomBar_, connectedContainer_,
      onlineHelpLabel_, onlineIPField_, onlinePortField_, onlineStartButton_, onlineQRButton_,
      onlineSwiftUIView_}},
    {onlineQRImageView_, {onlineTitleLabel_}},
    {onlineTitleLabel_, {onlineQRImageView_, onlineQRMicroLabel_, onlineInfoLabel_}},
    {connectedContainer_, {instructionsBox_, menuContainer_, onlineContainer_, offlineLabel}},
    {instructionsBox_, {connectedContainer_, menuContainer_, onlineContainer_, offlineLabel}},
};

TEST(ScreenStateTest, WhatAViewHidesIsHiddenInEveryState) {
  for (const ScreenState& state : everyState()) {
    const ViewSet visible = visibleViews(state);
    for (const auto& [view, hides] : kExclusions) {
      if (!visible.contains(view)) continue;
      EXPECT_FALSE(visible.sharesAnyWith(hides)) << describe(state) << ": " << nameOf(view);
    }
  }
}

TEST(ScreenStateTest, TheHigherScreenAlwaysWins) {
  for (const ScreenState& state : everyState()) {
    const ViewSet visible = visibleViews(state);
    const bool microphone = !state.splash && state.microphoneDenied;
    const bool guard = !state.splash && !state.microphoneDenied && state.guard;
    const bool front = state.splash || state.microphoneDenied || state.guard || state.checking;
    EXPECT_EQ(visible.contains(splashOverlay_), state.splash) << describe(state);
    EXPECT_EQ(visible.contains(micDeniedView_), microphone) << describe(state);
    EXPECT_EQ(visible.contains(audioGuardView_), guard) << describe(state);
    EXPECT_EQ(visible.contains(menuContainer_), !front && state.page == Page::kMenu)
        << describe(state);
    EXPECT_EQ(visible.contains(backButton_),
              !front && (state.page == Page::kCable || state.page == Page::kWifi))
        << describe(state);
    EXPECT_EQ(visible.contains(connectedContainer_),
              !front && state.page == Page::kCable && state.channelOpen)
        << describe(state);
  }
}

TEST(ScreenStateTest, SomeViewsAreNeverShown) {
  const ViewSet never = {inputTextField,   outputTextView,     offlineLabel,
                         cableStatusLabel, bottomBar_,         connectedQRImageView_,
                         onlineHelpLabel_, onlineIPField_,     onlinePortField_,
                         onlineQRButton_,  onlineSwiftUIView_, onlineStartButton_,
                         onlineStopButton_};
  for (const ScreenState& state : everyState()) {
    EXPECT_FALSE(visibleViews(state).sharesAnyWith(never)) << describe(state);
  }
}

TEST(ScreenStateTest, DotsFollowTheInfoLine) {
  for (const ScreenState& state : everyState()) {
    const bool infoShown = visibleViews(state).contains(onlineInfoLabel_);
    EXPECT_EQ(visibleStatusDots(state), infoShown ? std::min(state.clients, 10) : 0)
        << describe(state);
  }
}

TEST(ScreenStateTest, TheLineUnderTheCodeFollowsTheCode) {
  for (const ScreenState& state : everyState()) {
    const ViewSet visible = visibleViews(state);
    EXPECT_EQ(visible.contains(onlineQRMicroLabel_), visible.contains(onlineQRImageView_))
        << describe(state);
  }
}

}  // namespace
}  // namespace quorin::app
