#pragma once

#include "modes/wifi_page.h"

#include <QString>
#include <functional>

namespace quorin::app {

enum class Page { kNone, kMenu, kCable, kWifi };

/// What the modes and the menu need of the window. Main queue.
class ModesWindow {
 public:
  virtual ~ModesWindow() = default;
  ModesWindow(const ModesWindow&) = delete;
  ModesWindow& operator=(const ModesWindow&) = delete;

  /// Makes `page` the one in front, under whatever outranks it.
  virtual void open(Page page) = 0;

  /// Shows `page`, which differs from what was shown before, and lays out.
  virtual void showWiFiPage(const WiFiPage& page) = 0;

  /// A line of the console.
  virtual void presentMessage(const QString& text, bool isStatus) = 0;

  /// A sheet on the window, which is shown for it; `stop` runs when the user confirms.
  virtual void confirmStop(std::function<void()> stop) = 0;

 protected:
  ModesWindow() = default;
};

}  // namespace quorin::app
