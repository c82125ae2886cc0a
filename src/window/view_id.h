#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <initializer_list>
#include <string_view>

namespace quorin::app {

/// Every view of the window: its kind and its name, which is that of the entry in `View`, of the
/// member of `Views`, and of the widget.
#define QUORIN_VIEWS(VIEW)                             \
  VIEW(QLineEdit, inputTextField)                      \
  VIEW(QTextEdit, outputTextView)                      \
  VIEW(NonInteractiveLabel, offlineLabel)              \
  VIEW(NonInteractiveLabel, cableStatusLabel)          \
  VIEW(ShadeView, splashOverlay_)                      \
  VIEW(NonInteractiveImageView, splashImageView_)      \
  VIEW(GradientView, backgroundGradient_)              \
  VIEW(NonInteractiveImageView, topLogoImageView_)     \
  VIEW(PushButton, backButton_)                        \
  VIEW(ContainerView, menuContainer_)                  \
  VIEW(ShadeView, audioCheckOverlay_)                  \
  VIEW(NonInteractiveLabel, audioCheckLabel_)          \
  VIEW(ShadeView, audioGuardView_)                     \
  VIEW(NonInteractiveLabel, audioGuardTitleLabel_)     \
  VIEW(NonInteractiveLabel, audioGuardTextLabel_)      \
  VIEW(NonInteractiveLabel, audioGuardStatusOutLabel_) \
  VIEW(NonInteractiveLabel, audioGuardStatusInLabel_)  \
  VIEW(PushButton, audioGuardSetUpButton_)             \
  VIEW(PushButton, audioGuardOpenSettingsButton_)      \
  VIEW(NonInteractiveLabel, audioGuardSetUpNoteLabel_) \
  VIEW(ContainerView, micDeniedView_)                  \
  VIEW(ImageView, micDeniedImageView_)                 \
  VIEW(NonInteractiveLabel, micDeniedLabel_)           \
  VIEW(PushButton, micDeniedAllowButton_)              \
  VIEW(NonInteractiveLabel, menuHeaderLabel_)          \
  VIEW(PushButton, menuOnlineButton_)                  \
  VIEW(NonInteractiveLabel, menuOnlineTitle_)          \
  VIEW(NonInteractiveLabel, menuOnlineNote_)           \
  VIEW(NonInteractiveImageView, menuOnlineImageView_)  \
  VIEW(PushButton, menuOfflineButton_)                 \
  VIEW(NonInteractiveLabel, menuOfflineTitle_)         \
  VIEW(NonInteractiveLabel, menuOfflineNote_)          \
  VIEW(NonInteractiveImageView, menuOfflineImageView_) \
  VIEW(LinkButton, menuPrivacyButton_)                 \
  VIEW(NonInteractiveLabel, menuCopyrightLabel_)       \
  VIEW(ContainerView, instructionsBox_)                \
  VIEW(NonInteractiveLabel, usbMainLabel_)             \
  VIEW(NonInteractiveLabel, usbSecondary2Label_)       \
  VIEW(ContainerView, bottomBar_)                      \
  VIEW(ContainerView, connectedContainer_)             \
  VIEW(DotView, connectedDotView_)                     \
  VIEW(NonInteractiveLabel, connectedLabel_)           \
  VIEW(ImageView, connectedQRImageView_)               \
  VIEW(ContainerView, onlineContainer_)                \
  VIEW(QWidget, onlineSwiftUIView_)                    \
  VIEW(NonInteractiveLabel, onlineTitleLabel_)         \
  VIEW(NonInteractiveLabel, onlineInfoLabel_)          \
  VIEW(NonInteractiveLabel, onlineHelpLabel_)          \
  VIEW(QLineEdit, onlineIPField_)                      \
  VIEW(QLineEdit, onlinePortField_)                    \
  VIEW(PushButton, onlineQRButton_)                    \
  VIEW(CodeView, onlineQRImageView_)                   \
  VIEW(NonInteractiveLabel, onlineQRMicroLabel_)       \
  VIEW(AddressView, onlineAddressView_)                \
  VIEW(NonInteractiveLabel, onlineDetailLabel_)        \
  VIEW(PushButton, onlineRetryButton_)                 \
  VIEW(PushButton, onlineOtherPortButton_)             \
  VIEW(CheckBox, playHereBox_)                         \
  VIEW(NonInteractiveLabel, silenceLabel_)             \
  VIEW(PushButton, silenceMoveButton_)                 \
  VIEW(LevelMeter, levelMeter_)

// NOLINTBEGIN(readability-identifier-naming): an entry is spelled as the member of that name.
enum class View : std::size_t {
#define QUORIN_ENTRY(type, name) name,
  QUORIN_VIEWS(QUORIN_ENTRY)
#undef QUORIN_ENTRY
      count
};
// NOLINTEND(readability-identifier-naming)

inline constexpr std::size_t kViewCount = static_cast<std::size_t>(View::count);
inline constexpr int kMaxStatusDots = 10;

constexpr std::size_t indexOf(View view) {
  return static_cast<std::size_t>(view);
}

inline constexpr std::array<std::string_view, kViewCount> kViewNames = {
#define QUORIN_NAME(type, name) #name,
    QUORIN_VIEWS(QUORIN_NAME)
#undef QUORIN_NAME
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
