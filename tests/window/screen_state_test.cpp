#include "window/screen_state.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <ostream>
#include <string_view>
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
      states.push_back({.splash = (bits & 1) != 0,
                        .microphoneDenied = (bits & 2) != 0,
                        .guard = (bits & 4) != 0,
                        .checking = (bits & 8) != 0,
                        .page = page,
                        .channelOpen = (bits & 16) != 0,
                        .wifi = (bits & 32) != 0 ? WifiContent::kMessage : WifiContent::kCode});
    }
  }
  return states;
}

/// The views whose names begin like this.
ViewSet named(std::string_view beginning) {
  ViewSet views;
  for (std::size_t i = 0; i < kViewCount; ++i) {
    if (kViewNames[i].starts_with(beginning)) views.add({static_cast<View>(i)});
  }
  return views;
}

struct Screen {
  const char* name;
  bool (*isDue)(const ScreenState&);
  ViewSet views;  ///< besides the background and the logo
};

/// The highest first: a state shows the first that is due.
const std::vector<Screen> kScreens = {
    {"splash", [](const ScreenState& s) { return s.splash; }, named("splash")},
    {"microphone", [](const ScreenState& s) { return s.microphoneDenied; }, named("micDenied")},
    {"guard", [](const ScreenState& s) { return s.guard; }, named("audioGuard")},
    {"check", [](const ScreenState& s) { return s.checking; }, named("audioCheck")},
    {"menu", [](const ScreenState& s) { return s.page == Page::kMenu; }, named("menu")},
    {"cable, connected",
     [](const ScreenState& s) { return s.page == Page::kCable && s.channelOpen; },
     {connectedContainer_, connectedDotView_, connectedLabel_, backButton_}},
    {"cable, waiting",
     [](const ScreenState& s) { return s.page == Page::kCable; },
     {instructionsBox_, usbMainLabel_, usbSecondary2Label_, backButton_}},
    {"wifi without network",
     [](const ScreenState& s) { return s.page == Page::kWifi && s.wifi == WifiContent::kMessage; },
     {onlineContainer_, onlineTitleLabel_, backButton_}},
    {"wifi",
     [](const ScreenState& s) { return s.page == Page::kWifi; },
     {onlineContainer_, onlineQRImageView_, onlineQRMicroLabel_, onlineQRWifiLabel_,
      onlineInfoLabel_, backButton_}},
    {"nothing yet", [](const ScreenState&) { return true; }, {}},
};

TEST(ScreenStateTest, EveryStateShowsItsHighestScreenAndNothingElse) {
  for (const ScreenState& state : everyState()) {
    const auto screen =
        std::ranges::find_if(kScreens, [&](const Screen& due) { return due.isDue(state); });
    ViewSet expected = screen->views;
    expected.add({backgroundGradient_});
    if (!state.splash) expected.add({topLogoImageView_});
    EXPECT_EQ(visibleViews(state), expected) << screen->name;
  }
}

}  // namespace
}  // namespace quorin::app
