#include "window/screen_state.h"

#include <gmock/gmock.h>

namespace quorin::app {

namespace {

using enum View;

/// What a screen is recognised by, and when it is due; the highest first.
const struct {
  View view;
  bool (*isDue)(const ScreenState&);
} kScreens[] = {
    {splashOverlay_, [](const ScreenState& s) { return s.splash; }},
    {micDeniedView_, [](const ScreenState& s) { return s.microphoneDenied; }},
    {audioGuardView_, [](const ScreenState& s) { return s.guard; }},
    {audioCheckOverlay_, [](const ScreenState& s) { return s.checking; }},
    {menuContainer_, [](const ScreenState& s) { return s.page == Page::kMenu; }},
    {connectedContainer_,
     [](const ScreenState& s) { return s.page == Page::kCable && s.channelOpen; }},
    {instructionsBox_,
     [](const ScreenState& s) { return s.page == Page::kCable && !s.channelOpen; }},
    {onlineContainer_, [](const ScreenState& s) { return s.page == Page::kWifi; }},
};

TEST(ScreenStateTest, EveryStateShowsItsHighestScreenAndNoOther) {
  for (int bits = 0; bits < 32; ++bits) {
    for (const Page page : {Page::kNone, Page::kMenu, Page::kCable, Page::kWifi}) {
      const ScreenState state{.splash = (bits & 1) != 0,
                              .microphoneDenied = (bits & 2) != 0,
                              .guard = (bits & 4) != 0,
                              .checking = (bits & 8) != 0,
                              .page = page,
                              .channelOpen = (bits & 16) != 0};
      const ViewSet visible = visibleViews(state);
      bool isCovered = false;
      for (const auto& [view, isDue] : kScreens) {
        EXPECT_EQ(visible.contains(view), isDue(state) && !isCovered) << nameOf(view);
        isCovered |= isDue(state);
      }
      const bool isOnAPage = !state.splash && !state.microphoneDenied && !state.guard &&
                             !state.checking && (page == Page::kCable || page == Page::kWifi);
      EXPECT_EQ(visible.contains(backButton_), isOnAPage);
    }
  }
}

TEST(ScreenStateTest, TheCodeStandsOnlyWhereAPhoneCanUseIt) {
  using Content = WiFiPage::Content;
  for (const Content content : {Content::kCode, Content::kMessage, Content::kProblem}) {
    const ViewSet visible =
        visibleViews({.splash = false, .page = Page::kWifi, .wifi = content, .clients = 2});
    for (const View view : {onlineQRImageView_, onlineQRMicroLabel_, onlineAddressView_}) {
      EXPECT_EQ(visible.contains(view), content == Content::kCode) << nameOf(view);
    }
    EXPECT_EQ(visible.contains(onlineTitleLabel_), content != Content::kCode);
    EXPECT_EQ(visible.contains(onlineRetryButton_), content == Content::kProblem);
  }
}

TEST(ScreenStateTest, ASilenceIsALineOfItsOwnOnBothPages) {
  for (const Page page : {Page::kCable, Page::kWifi, Page::kMenu}) {
    const auto visible = visibleViews({.splash = false,
                                       .page = page,
                                       .channelOpen = true,
                                       .lent = true,
                                       .silent = true,
                                       .mayBeMoved = true});
    for (const View view : {levelMeter_, playHereBox_, silenceLabel_, silenceMoveButton_}) {
      EXPECT_EQ(visible.contains(view), page != Page::kMenu) << nameOf(view);
    }
    EXPECT_EQ(visible.contains(connectedLabel_), page == Page::kCable) << "never instead of it";
    EXPECT_EQ(visible.contains(onlineInfoLabel_), page == Page::kWifi);
  }
}

}  // namespace
}  // namespace quorin::app
