#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <initializer_list>
#include <string_view>

namespace quorin::app {

/// Every view of the window, in the order in which they are built, under the name it has
/// everywhere: here, as a member of `Views`, and as the widget's object name.
// NOLINTBEGIN(readability-identifier-naming): an entry is spelled as the member of that name.
enum class View : std::size_t {
  inputTextField,
  outputTextView,
  offlineLabel,
  cableStatusLabel,
  splashOverlay_,
  splashImageView_,
  backgroundGradient_,
  topLogoImageView_,
  backButton_,
  menuContainer_,
  audioCheckOverlay_,
  audioCheckLabel_,
  audioGuardView_,
  audioGuardTitleLabel_,
  audioGuardTextLabel_,
  audioGuardStatusOutLabel_,
  audioGuardStatusInLabel_,
  audioGuardSetUpButton_,
  audioGuardOpenSettingsButton_,
  audioGuardSetUpNoteLabel_,
  micDeniedView_,
  micDeniedImageView_,
  micDeniedLabel_,
  micDeniedAllowButton_,
  menuHeaderLabel_,
  menuOnlineButton_,
  menuOnlineTitle_,
  menuOnlineNote_,
  menuOnlineImageView_,
  menuOfflineButton_,
  menuOfflineTitle_,
  menuOfflineNote_,
  menuOfflineImageView_,
  menuPrivacyButton_,
  menuCopyrightLabel_,
  instructionsBox_,
  usbMainLabel_,
  usbSecondary2Label_,
  bottomBar_,
  connectedContainer_,
  connectedDotView_,
  connectedLabel_,
  connectedQRImageView_,
  onlineContainer_,
  onlineSwiftUIView_,
  onlineTitleLabel_,
  onlineInfoLabel_,
  onlineHelpLabel_,
  onlineIPField_,
  onlinePortField_,
  onlineStartButton_,
  onlineStopButton_,
  onlineQRButton_,
  onlineQRImageView_,
  onlineQRMicroLabel_,
  onlineQRWifiLabel_,
  onlineAddressView_,
  onlineDetailLabel_,
  onlineRetryButton_,
  onlineOtherPortButton_,
  playHereBox_,
  silenceLabel_,
  silenceMoveButton_,
  levelMeter_,
  count
};
// NOLINTEND(readability-identifier-naming)

inline constexpr std::size_t kViewCount = static_cast<std::size_t>(View::count);
inline constexpr int kMaxStatusDots = 10;

constexpr std::size_t indexOf(View view) {
  return static_cast<std::size_t>(view);
}

inline constexpr std::array<std::string_view, kViewCount> kViewNames = {
    "inputTextField",
    "outputTextView",
    "offlineLabel",
    "cableStatusLabel",
    "splashOverlay_",
    "splashImageView_",
    "backgroundGradient_",
    "topLogoImageView_",
    "backButton_",
    "menuContainer_",
    "audioCheckOverlay_",
    "audioCheckLabel_",
    "audioGuardView_",
    "audioGuardTitleLabel_",
    "audioGuardTextLabel_",
    "audioGuardStatusOutLabel_",
    "audioGuardStatusInLabel_",
    "audioGuardSetUpButton_",
    "audioGuardOpenSettingsButton_",
    "audioGuardSetUpNoteLabel_",
    "micDeniedView_",
    "micDeniedImageView_",
    "micDeniedLabel_",
    "micDeniedAllowButton_",
    "menuHeaderLabel_",
    "menuOnlineButton_",
    "menuOnlineTitle_",
    "menuOnlineNote_",
    "menuOnlineImageView_",
    "menuOfflineButton_",
    "menuOfflineTitle_",
    "menuOfflineNote_",
    "menuOfflineImageView_",
    "menuPrivacyButton_",
    "menuCopyrightLabel_",
    "instructionsBox_",
    "usbMainLabel_",
    "usbSecondary2Label_",
    "bottomBar_",
    "connectedContainer_",
    "connectedDotView_",
    "connectedLabel_",
    "connectedQRImageView_",
    "onlineContainer_",
    "onlineSwiftUIView_",
    "onlineTitleLabel_",
    "onlineInfoLabel_",
    "onlineHelpLabel_",
    "onlineIPField_",
    "onlinePortField_",
    "onlineStartButton_",
    "onlineStopButton_",
    "onlineQRButton_",
    "onlineQRImageView_",
    "onlineQRMicroLabel_",
    "onlineQRWifiLabel_",
    "onlineAddressView_",
    "onlineDetailLabel_",
    "onlineRetryButton_",
    "onlineOtherPortButton_",
    "playHereBox_",
    "silenceLabel_",
    "silenceMoveButton_",
    "levelMeter_",
};

constexpr std::string_view nameOf(View view) {
  return kViewNames[indexOf(view)];
}

/// Some of the views.
class ViewSet {
 public:
  ViewSet() = default;
  ViewSet(std::initializer_list<View> views) {
    for (const View view : views) bits_.set(indexOf(view));
  }

  bool contains(View view) const { return bits_.test(indexOf(view)); }
  void add(const ViewSet& views) { bits_ |= views.bits_; }
  bool sharesAnyWith(const ViewSet& views) const { return (bits_ & views.bits_).any(); }
  bool operator==(const ViewSet&) const = default;

 private:
  std::bitset<kViewCount> bits_;
};

}  // namespace quorin::app
