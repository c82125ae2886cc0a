#pragma once

#include <bitset>
#include <cstddef>

namespace quorin::app {

/// Every view of the window, one row each: VIEW(kind, name, container, shown, arguments...)
///
/// - kind: the widget's class.
/// - name: of the entry in `View`, of the member of `Views`, and of the widget.
/// - container: the view it stands in; its frame is in that view's coordinates.
/// - shown: when it is visible, in the words of `visibleViews`.
/// - arguments: of the widget's constructor, in the words of `Views::Views`: its text or picture,
///   and its look.
///
/// Rows stand in the order of the Tab key, and each view lies above those before it, but for the
/// few that `Views::Views` raises.
#define QUORIN_VIEWS(VIEW)                                                                         \
  VIEW(GradientView, backgroundGradient_, contentView, always)                                     \
  VIEW(ContainerView, splashOverlay_, contentView, on(kSplash), Qt::black)                         \
  VIEW(NonInteractiveImageView, splashImageView_, splashOverlay_, on(kSplash),                     \
       imageForView("Logo 1"))                                                                     \
  VIEW(NonInteractiveImageView, topLogoImageView_, contentView, !on(kSplash),                      \
       imageForView("Logo"))                                                                       \
                                                                                                   \
  /* The console, which no screen shows. */                                                        \
  VIEW(QTextEdit, outputTextView, contentView, never)                                              \
  VIEW(QLineEdit, inputTextField, contentView, never)                                              \
                                                                                                   \
  VIEW(NonInteractiveLabel, offlineLabel, contentView, never, {}, white(42, QFont::Bold))          \
  VIEW(PushButton, backButton_, contentView, inAMode, tr("back_button_title"), systemFont(18),     \
       looks::kBack)                                                                               \
                                                                                                   \
  VIEW(ContainerView, menuContainer_, contentView, on(kMenu))                                      \
  VIEW(NonInteractiveLabel, menuHeaderLabel_, menuContainer_, on(kMenu), tr("menu.header"),        \
       white(22, QFont::Light))                                                                    \
  VIEW(PushButton, menuOnlineButton_, menuContainer_, on(kMenu), {},                               \
       systemFont(18, QFont::DemiBold), looks::kCard)                                              \
  VIEW(NonInteractiveLabel, menuOnlineTitle_, menuContainer_, on(kMenu), tr("cards.online.title"), \
       wrapped(white(24, QFont::DemiBold)))                                                        \
  VIEW(NonInteractiveLabel, menuOnlineNote_, menuContainer_, on(kMenu), tr("cards.online.note"),   \
       wrapped(grey(14)))                                                                          \
  VIEW(NonInteractiveImageView, menuOnlineImageView_, menuContainer_, on(kMenu),                   \
       imageForView("internet"))                                                                   \
  VIEW(PushButton, menuOfflineButton_, menuContainer_, on(kMenu), {},                              \
       systemFont(18, QFont::DemiBold), looks::kCard)                                              \
  VIEW(NonInteractiveLabel, menuOfflineTitle_, menuContainer_, on(kMenu),                          \
       tr("cards.offline.title"), wrapped(white(24, QFont::DemiBold)))                             \
  VIEW(NonInteractiveLabel, menuOfflineNote_, menuContainer_, on(kMenu), tr("cards.offline.note"), \
       wrapped(grey(14)))                                                                          \
  VIEW(NonInteractiveImageView, menuOfflineImageView_, menuContainer_, on(kMenu),                  \
       imageForView("Cable"))                                                                      \
  VIEW(LinkButton, menuPrivacyButton_, menuContainer_, on(kMenu), tr("footer.privacy"),            \
       systemFont(12))                                                                             \
  VIEW(NonInteractiveLabel, menuCopyrightLabel_, menuContainer_, on(kMenu),                        \
       tr("footer.copyright"), grey(12))                                                           \
                                                                                                   \
  VIEW(ContainerView, audioCheckOverlay_, contentView, on(kChecking), withAlpha(Qt::black, 0.15))  \
  VIEW(NonInteractiveLabel, audioCheckLabel_, audioCheckOverlay_, on(kChecking),                   \
       tr("audio.verifying"), white(20, QFont::DemiBold))                                          \
                                                                                                   \
  VIEW(ContainerView, audioGuardView_, contentView, on(kGuard), withAlpha(Qt::black, 0.2))         \
  VIEW(NonInteractiveLabel, audioGuardTitleLabel_, audioGuardView_, on(kGuard),                    \
       tr("audio.guard.title"), wrapped(white(28, QFont::Bold)))                                   \
  VIEW(NonInteractiveLabel, audioGuardTextLabel_, audioGuardView_, on(kGuard),                     \
       tr("audio.guard.text.both"), wrapped(grey(14)))                                             \
  VIEW(NonInteractiveLabel, audioGuardStatusOutLabel_, audioGuardView_, on(kGuard), {}, grey(13))  \
  VIEW(NonInteractiveLabel, audioGuardStatusInLabel_, audioGuardView_, on(kGuard), {}, grey(13))   \
  VIEW(PushButton, audioGuardSetUpButton_, audioGuardView_, on(kGuard), tr("audio.guard.setup"),   \
       systemFont(16, QFont::DemiBold), looks::kProminent)                                         \
  VIEW(PushButton, audioGuardOpenSettingsButton_, audioGuardView_, on(kGuard),                     \
       tr("audio.guard.button"), systemFont(16, QFont::DemiBold), looks::kPlain)                   \
  VIEW(NonInteractiveLabel, audioGuardSetUpNoteLabel_, audioGuardView_, on(kGuard),                \
       tr("audio.guard.setup.note"), wrapped(grey(13)))                                            \
                                                                                                   \
  VIEW(ContainerView, micDeniedView_, contentView, on(kMicrophone))                                \
  VIEW(NonInteractiveImageView, micDeniedImageView_, micDeniedView_, on(kMicrophone),              \
       symbol("mic.slash", colors::kWhite))                                                        \
  VIEW(NonInteractiveLabel, micDeniedLabel_, micDeniedView_, on(kMicrophone),                      \
       tr("mic.overlay.text"), wrapped(white(16)))                                                 \
  VIEW(PushButton, micDeniedAllowButton_, micDeniedView_, on(kMicrophone),                         \
       tr("mic.overlay.button"), systemFont(16, QFont::DemiBold), looks::kProminent)               \
                                                                                                   \
  VIEW(ContainerView, instructionsBox_, contentView, on(kCableWaiting))                            \
  VIEW(NonInteractiveLabel, usbMainLabel_, instructionsBox_, on(kCableWaiting),                    \
       tr("usb_instruction_title"), wrapped(white(32, QFont::Bold)))                               \
  VIEW(NonInteractiveLabel, usbSecondary2Label_, instructionsBox_, on(kCableWaiting),              \
       tr("waiting_connection"), wrapped(grey(16, QFont::DemiBold)))                               \
  VIEW(ContainerView, bottomBar_, contentView, never)                                              \
  VIEW(NonInteractiveLabel, cableStatusLabel, bottomBar_, never, tr("waiting_connection"),         \
       white(20, QFont::Bold))                                                                     \
  VIEW(ContainerView, connectedContainer_, contentView, on(kCableConnected))                       \
  VIEW(NonInteractiveImageView, connectedDotView_, connectedContainer_, on(kCableConnected),       \
       symbol("circle.fill", colors::kGreen))                                                      \
  VIEW(NonInteractiveLabel, connectedLabel_, connectedContainer_, on(kCableConnected),             \
       tr("usb.connected"), atTheLeft(white(48, QFont::Bold)))                                     \
  VIEW(NonInteractiveImageView, connectedQRImageView_, connectedContainer_, never, nullptr)        \
                                                                                                   \
  VIEW(ContainerView, onlineContainer_, contentView, onWifi)                                       \
  VIEW(NonInteractiveLabel, onlineTitleLabel_, onlineContainer_, on(kWifiMessage, kWifiProblem),   \
       "Con Internet", wrapped(white(42, QFont::Bold)))                                            \
  VIEW(NonInteractiveLabel, onlineHelpLabel_, onlineContainer_, never,                             \
       "⚠️ En macOS, esta página es un preview UI. La transmisión UDP completa está en "            \
       "iOS.",                                                                                     \
       fainter(grey(12)))                                                                          \
  VIEW(QLineEdit, onlineIPField_, onlineContainer_, never, "192.168.1.10")                         \
  VIEW(QLineEdit, onlinePortField_, onlineContainer_, never, "9000")                               \
  VIEW(PushButton, onlineQRButton_, onlineContainer_, never, "Abrir QR (iPhone)", systemFont(13),  \
       looks::kPlain)                                                                              \
  VIEW(CodeView, onlineQRImageView_, onlineContainer_, on(kWifiCode))                              \
  VIEW(AddressView, onlineAddressView_, onlineContainer_, on(kWifiCode), texts)                    \
  VIEW(NonInteractiveLabel, onlineQRMicroLabel_, onlineContainer_, on(kWifiCode),                  \
       tr("pairing_instructions"), wrapped(white(32, QFont::Bold)))                                \
  VIEW(NonInteractiveLabel, onlineInfoLabel_, onlineContainer_, on(kWifiCode),                     \
       "0 dispositivos conectados", fainter(grey(16, QFont::DemiBold)))                            \
  VIEW(NonInteractiveLabel, onlineDetailLabel_, onlineContainer_, on(kWifiProblem), {},            \
       wrapped(grey(16, QFont::DemiBold)))                                                         \
  VIEW(PushButton, onlineRetryButton_, onlineContainer_, on(kWifiProblem), tr("port.try_again"),   \
       systemFont(16), looks::kPlain)                                                              \
  VIEW(PushButton, onlineOtherPortButton_, onlineContainer_, on(kWifiProblem) && state.otherPort,  \
       {}, systemFont(16, QFont::DemiBold), looks::kProminent)                                     \
                                                                                                   \
  VIEW(NonInteractiveLabel, silenceLabel_, contentView, isSilent, tr("status.silent"),             \
       orange(14, QFont::DemiBold))                                                                \
  VIEW(PushButton, silenceMoveButton_, contentView, isSilent&& state.mayBeMoved,                   \
       tr("status.silent.move"), systemFont(13), looks::kPlain)                                    \
  VIEW(LevelMeter, levelMeter_, contentView, streams, tr("sound_level"))                           \
  VIEW(CheckBox, playHereBox_, contentView, inAMode&& state.lent, tr("play_here"))

// NOLINTBEGIN(readability-identifier-naming): an entry is spelled as the member of that name.
enum class View : std::size_t {
#define QUORIN_ENTRY(kind, name, ...) name,
  QUORIN_VIEWS(QUORIN_ENTRY)
#undef QUORIN_ENTRY
      contentView  ///< the window's content, which holds them all
};
// NOLINTEND(readability-identifier-naming)

inline constexpr auto kViewCount = static_cast<std::size_t>(View::contentView);

constexpr std::size_t indexOf(View view) {
  return static_cast<std::size_t>(view);
}

using ViewSet = std::bitset<kViewCount>;

}  // namespace quorin::app
