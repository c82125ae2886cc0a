#include "modes/cable_status.h"

#include <gtest/gtest.h>

namespace quorin::app {
namespace {

using usb::PhoneAnswer;
using usb::UsbService;

TEST(CableStatus, SaysWhatIsKnownAndWhatToDo) {
  const usb::UsbServiceRemedy install{.command = "sudo apt install usbmuxd"};
  const usb::UsbServiceRemedy restart{.installed = true, .command = "sudo usbmuxd"};
  const CableState found{.service = UsbService::kRunning, .phones = 1};
  const auto with = [&](auto change) {
    auto state = found;
    change(state);
    return state;
  };
  const struct {
    const char* name;
    CableState state;
    const char* says;
  } cases[] = {
      {"not asked yet", {}, "Waiting for a connection…"},
      {"not installed",
       {.service = UsbService::kMissing, .remedy = install},
       "Install it with:\nsudo apt install usbmuxd"},
      {"stopped",
       {.service = UsbService::kMissing, .remedy = restart},
       "start it with:\nsudo usbmuxd"},
      {"not permitted",
       {.service = UsbService::kFailing, .remedy = restart},
       "start it with:\nsudo usbmuxd"},
      {"no phone", {.service = UsbService::kRunning}, "carries data"},
      {"being tried", found, "Waiting for a connection…"},
      {"not trusted", with([](auto& s) { s.answer = PhoneAnswer::kLocked; }), "“Trust”"},
      {"app closed", with([](auto& s) {
         s.answer = PhoneAnswer::kNoListener;
         s.phoneName = "Ana";
       }),
       "Ana: Open the app"},
      {"connected", with([](auto& s) { s.connected = true; }), "iPhone connected"},
      {"the app sleeps", with([](auto& s) {
         s.connected = true;
         s.appAnswers = false;
       }),
       "The app does not answer: wake it up"},
  };
  const Texts texts({"en"});
  for (const auto& row : cases) {
    const auto text = cableText(row.state, texts);
    EXPECT_TRUE(text.contains(row.says)) << row.name << ": " << text.toStdString();
  }
}

}  // namespace
}  // namespace quorin::app
