#pragma once

#include "modes/modes_window.h"
#include "window/view_table.h"

#include <cstdint>

/// Decides what is visible.
namespace quorin::app {

/// The input of that decision.
struct ScreenState {
  bool splash = true;  ///< until it has faded out
  bool microphoneDenied = false;
  bool guard = false;
  bool checking = false;
  Page page = Page::kNone;  ///< the current page, even while covered
  bool channelOpen = false;
  WiFiPage::Content wifi = WiFiPage::Content::kCode;
  bool otherPort = false;  ///< is offered where the page reports a problem
  int clients = 0;
  bool lent = false;        ///< the device is lent, so that this computer can play too
  bool silent = false;      ///< a running stream is silent
  bool mayBeMoved = false;  ///< and the page offers a button to fix it

  bool operator==(const ScreenState&) const = default;
};

/// The screen in front. Earlier ones outrank the pages from `kMenu` on.
enum class Screen : std::uint8_t {
  kSplash,
  kMicrophone,
  kGuard,
  kChecking,
  kNone,
  kMenu,
  kCableWaiting,
  kCableConnected,
  kWifiCode,
  kWifiMessage,
  kWifiProblem,
};
Screen screenOf(const ScreenState& state);

/// Nothing stands in front of the page.
bool pageIsInFront(const ScreenState& state);

/// The views of that one screen; all others are hidden, whatever has been set for them.
ViewSet visibleViews(const ScreenState& state);

inline constexpr int kMaxStatusDots = 10;

/// How many of the status dots are visible: one a client.
int visibleStatusDots(const ScreenState& state);

}  // namespace quorin::app
