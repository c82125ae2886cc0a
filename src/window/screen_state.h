#pragma once

#include "modes/wifi_page.h"
#include "window/view_id.h"

/// What is visible, decided in one place.
namespace quorin::app {

enum class Page { kNone, kMenu, kCable, kWifi };

/// All that the visible views follow from.
struct ScreenState {
  bool splash = true;  ///< until it has faded out
  bool microphoneDenied = false;
  bool guard = false;
  bool checking = false;
  Page page = Page::kNone;  ///< where the person is, also while something is in front of it
  bool channelOpen = false;
  WiFiPage::Content wifi = WiFiPage::Content::kCode;
  bool otherPort = false;  ///< is offered where the page tells of a problem
  int clients = 0;
  bool lent = false;        ///< the device is, so that this computer may play as well
  bool silent = false;      ///< a running stream carries nothing
  bool mayBeMoved = false;  ///< and there is a button against that

  bool operator==(const ScreenState&) const = default;
};

/// One screen at a time: the splash, else the microphone screen, else the guard, else the check,
/// else the page. Everything else is hidden, whatever has been set for it.
ViewSet visibleViews(const ScreenState& state);

/// Nothing stands in front of the page.
bool pageIsInFront(const ScreenState& state);

/// How many of the status dots are visible: one a client, at most `kMaxStatusDots`.
int visibleStatusDots(const ScreenState& state);

}  // namespace quorin::app
