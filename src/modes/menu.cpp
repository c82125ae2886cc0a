#include "modes/menu.h"

#include <utility>

namespace quorin::app {

// Page switches are posted; leaving the mode before they run cancels them.

void Menu::chooseOnlineMode() {
  pageSteps_.cancelAll();
  parts_.cable.turnOff();
  scheduler_.mainQueue().async(pageSteps_, [this] { parts_.wifi.enter(); });
}

void Menu::chooseOfflineMode() {
  pageSteps_.cancelAll();
  parts_.wifi.leave();
  parts_.wifi.stopIPWatch();
  parts_.cable.turnOn();
  parts_.sound.start();
  scheduler_.mainQueue().async(pageSteps_, [this] { parts_.window.open(Page::kCable); });
}

void Menu::askToStop(std::function<void()> stop) {
  listeners() > 0 ? parts_.window.confirmStop(std::move(stop)) : stop();
}

void Menu::stopAndShowMenu() {
  stopAllSessions();
  scheduler_.mainQueue().async(pageSteps_, [this] { parts_.window.open(Page::kMenu); });
}

void Menu::stopAllSessions() {
  pageSteps_.cancelAll();
  parts_.cable.turnOff();
  parts_.wifi.leave();
  parts_.sound.stop();
  parts_.wifi.stopIPWatch();
}

}  // namespace quorin::app
