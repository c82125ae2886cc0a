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

  /// Makes `page` the current page; screens of higher rank still cover it.
  virtual void open(Page page) = 0;

  /// Shows `page` and updates the layout. Called only for changes.
  virtual void showWiFiPage(const WiFiPage& page) = 0;

  /// Adds a line to the console.
  virtual void presentMessage(const QString& text, bool isStatus) = 0;

  /// Asks in a sheet on the window, which is shown if hidden; `stop` runs when the user confirms.
  virtual void confirmStop(std::function<void()> stop) = 0;

 protected:
  ModesWindow() = default;
};

}  // namespace quorin::app
