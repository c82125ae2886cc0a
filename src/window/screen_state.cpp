#include "window/screen_state.h"

#include <algorithm>

namespace quorin::app {

Screen screenOf(const ScreenState& state) {
  using enum Screen;
  if (state.splash) return kSplash;
  if (state.microphoneDenied) return kMicrophone;
  if (state.guard) return kGuard;
  if (state.checking) return kChecking;
  switch (state.page) {
    case Page::kNone:
      break;
    case Page::kMenu:
      return kMenu;
    case Page::kCable:
      return state.channelOpen ? kCableConnected : kCableWaiting;
    case Page::kWifi:
      switch (state.wifi) {
        case WiFiPage::Content::kCode:
          return kWifiCode;
        case WiFiPage::Content::kMessage:
          return kWifiMessage;
        case WiFiPage::Content::kProblem:
          return kWifiProblem;
      }
  }
  return kNone;
}

bool pageIsInFront(const ScreenState& state) {
  return screenOf(state) >= Screen::kNone;
}

ViewSet visibleViews(const ScreenState& state) {
  using enum Screen;
  const auto on = [screen = screenOf(state)](auto... any) { return ((screen == any) || ...); };
  constexpr bool always = true;
  constexpr bool never = false;
  const bool onWifi = on(kWifiCode, kWifiMessage, kWifiProblem);
  const bool inAMode = onWifi || on(kCableWaiting, kCableConnected);
  const bool streams = on(kWifiCode, kCableWaiting, kCableConnected);
  const bool isSilent = on(kWifiCode, kCableConnected) && state.silent;

  ViewSet visible;
#define QUORIN_SHOW(kind, name, container, shown, ...) visible[indexOf(View::name)] = shown;
  QUORIN_VIEWS(QUORIN_SHOW)
#undef QUORIN_SHOW
  return visible;
}

int visibleStatusDots(const ScreenState& state) {
  return screenOf(state) == Screen::kWifiCode ? std::clamp(state.clients, 0, kMaxStatusDots) : 0;
}

}  // namespace quorin::app
