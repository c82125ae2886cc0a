#pragma once

#include "ui/address_view.h"
#include "ui/code_view.h"
#include "window/console.h"
#include "ui/containers.h"
#include "ui/controls.h"
#include "ui/images.h"
#include "ui/stream_controls.h"
#include "ui/phone_dot.h"
#include "ui/text_field.h"
#include "ui/texts.h"
#include "window/view_id.h"

#include <QWidget>
#include <array>
#include <functional>

namespace quorin::app {

/// Every view of the window. Built once, all hidden but the splash; the widgets belong to the
/// content view. Whoever builds this connects the buttons. Main thread.
///
/// A view that does not exist is null; all code that touches a view by its `View` skips it then.
struct Views {
  /// `makePanel` builds the server panel for the Wi-Fi page; it may be empty or return null.
  Views(QWidget& contentView, const Texts& texts, const Images& images,
        const std::function<QWidget*()>& makePanel = {});
  Views(const Views&) = delete;
  Views& operator=(const Views&) = delete;

  /// The widget of this name, null when there is none.
  QWidget* find(View view) const { return widgets_[indexOf(view)]; }

  /// The fonts of the Wi-Fi page that depend on nothing but the page.
  void applyTypographyForBounds() const;

  /// 1 at the start, 0 when faded out.
  void setSplashOpacity(double opacity) const;

  /// Takes the splash out of the window for good.
  void removeSplash();

  QWidget& contentView_;

  TextField* inputTextField = nullptr;
  ConsoleView* outputTextView = nullptr;
  NonInteractiveLabel* offlineLabel = nullptr;
  NonInteractiveLabel* cableStatusLabel = nullptr;

  ShadeView* splashOverlay_ = nullptr;
  NonInteractiveImageView* splashImageView_ = nullptr;
  GradientView* backgroundGradient_ = nullptr;
  NonInteractiveImageView* topLogoImageView_ = nullptr;

  PushButton* backButton_ = nullptr;

  ContainerView* menuContainer_ = nullptr;
  NonInteractiveLabel* menuHeaderLabel_ = nullptr;
  PushButton* menuOnlineButton_ = nullptr;
  NonInteractiveLabel* menuOnlineTitle_ = nullptr;
  NonInteractiveLabel* menuOnlineNote_ = nullptr;
  NonInteractiveImageView* menuOnlineImageView_ = nullptr;
  PushButton* menuOfflineButton_ = nullptr;
  NonInteractiveLabel* menuOfflineTitle_ = nullptr;
  NonInteractiveLabel* menuOfflineNote_ = nullptr;
  NonInteractiveImageView* menuOfflineImageView_ = nullptr;
  LinkButton* menuPrivacyButton_ = nullptr;
  NonInteractiveLabel* menuCopyrightLabel_ = nullptr;

  ShadeView* audioCheckOverlay_ = nullptr;
  NonInteractiveLabel* audioCheckLabel_ = nullptr;

  ShadeView* audioGuardView_ = nullptr;
  NonInteractiveLabel* audioGuardTitleLabel_ = nullptr;
  NonInteractiveLabel* audioGuardTextLabel_ = nullptr;
  NonInteractiveLabel* audioGuardStatusOutLabel_ = nullptr;
  NonInteractiveLabel* audioGuardStatusInLabel_ = nullptr;
  PushButton* audioGuardSetUpButton_ = nullptr;
  PushButton* audioGuardOpenSettingsButton_ = nullptr;
  NonInteractiveLabel* audioGuardSetUpNoteLabel_ = nullptr;

  ContainerView* micDeniedView_ = nullptr;
  ImageView* micDeniedImageView_ = nullptr;
  NonInteractiveLabel* micDeniedLabel_ = nullptr;
  PushButton* micDeniedAllowButton_ = nullptr;

  ContainerView* instructionsBox_ = nullptr;
  NonInteractiveLabel* usbMainLabel_ = nullptr;
  NonInteractiveLabel* usbSecondary2Label_ = nullptr;
  ContainerView* bottomBar_ = nullptr;
  ContainerView* connectedContainer_ = nullptr;
  DotView* connectedDotView_ = nullptr;
  NonInteractiveLabel* connectedLabel_ = nullptr;
  ImageView* connectedQRImageView_ = nullptr;

  ContainerView* onlineContainer_ = nullptr;
  QWidget* onlineSwiftUIView_ = nullptr;
  NonInteractiveLabel* onlineTitleLabel_ = nullptr;
  NonInteractiveLabel* onlineInfoLabel_ = nullptr;
  NonInteractiveLabel* onlineHelpLabel_ = nullptr;
  TextField* onlineIPField_ = nullptr;
  TextField* onlinePortField_ = nullptr;
  PushButton* onlineStartButton_ = nullptr;  ///< never built
  PushButton* onlineStopButton_ = nullptr;   ///< never built
  PushButton* onlineQRButton_ = nullptr;
  CodeView* onlineQRImageView_ = nullptr;
  NonInteractiveLabel* onlineQRMicroLabel_ = nullptr;
  NonInteractiveLabel* onlineQRWifiLabel_ = nullptr;  ///< never built
  AddressView* onlineAddressView_ = nullptr;
  NonInteractiveLabel* onlineDetailLabel_ = nullptr;
  PushButton* onlineRetryButton_ = nullptr;
  PushButton* onlineOtherPortButton_ = nullptr;

  // What both pages that stream share.
  CheckBox* playHereBox_ = nullptr;
  NonInteractiveLabel* silenceLabel_ = nullptr;
  PushButton* silenceMoveButton_ = nullptr;
  LevelMeter* levelMeter_ = nullptr;

  std::array<PhoneDot*, kMaxStatusDots> onlineStatusDots_{};

 private:
  void buildOutlets(const Texts& texts);
  void buildSplash(const Images& images);
  void buildBackground(const Texts& texts, const Images& images);
  void buildChecks(const Texts& texts);
  void buildMicrophoneScreen(const Texts& texts, const Images& images);
  void buildMenu(const Texts& texts, const Images& images);
  void buildCablePage(const Texts& texts);
  void buildStreamControls(const Texts& texts);
  void buildWifiPage(const Texts& texts, const std::function<QWidget*()>& makePanel);

  /// Enters `widget` under its name, hidden.
  template <typename Widget>
  Widget* add(View view, Widget* widget);
  NonInteractiveLabel* addLabel(View view, const QString& text, const TextStyle& style,
                                QWidget* parent);
  NonInteractiveImageView* addPicture(View view, PicturePtr image, const QString& name,
                                      QWidget* parent);
  PushButton* addCard(View view, const QString& title, const QString& note);
  TextField* addField(View view, const QString& placeholder, const QString& text);

  std::array<QWidget*, kViewCount> widgets_{};
};

}  // namespace quorin::app
