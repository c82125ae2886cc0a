#include "window/views.h"

#include "ui/accessibility.h"
#include "ui/appearance.h"
#include "window/layout.h"

#include <utility>

namespace quorin::app {
namespace {

const auto kProgramName = QStringLiteral("Quorin Stream");

TextStyle white(double pixels, QFont::Weight weight,
                LineBreak lineBreak = LineBreak::kTruncateTail) {
  return {.pixels = pixels, .weight = weight, .color = colors::kWhite, .lineBreak = lineBreak};
}

TextStyle grey(double pixels, QFont::Weight weight,
               LineBreak lineBreak = LineBreak::kTruncateTail) {
  return {.pixels = pixels, .weight = weight, .color = colors::kLightGrey, .lineBreak = lineBreak};
}

/// The greys of the Wi-Fi page, which let a little of the background through.
TextStyle fainter(TextStyle style) {
  style.color = withAlpha(style.color, 0.9);
  return style;
}

NonInteractiveLabel* label(const QString& text, const TextStyle& style, QWidget* parent) {
  return new NonInteractiveLabel(text, style, parent);
}

NonInteractiveImageView* picture(PicturePtr image, const QString& name, QWidget* parent) {
  auto* const view = new NonInteractiveImageView(parent);
  view->setImage(std::move(image));
  view->setAccessibleName(name);
  return view;
}

}  // namespace

PushButton* Views::card(const QString& title, const QString& note) {
  auto* const card =
      new PushButton({}, systemFont(18, QFont::DemiBold), looks::kCard, menuContainer_);
  card->setAccessibleName(title);
  card->setAccessibleDescription(note);
  return card;
}

QLineEdit* Views::field(const QString& placeholder, const QString& text) {
  auto* const field = new QLineEdit(text, onlineContainer_);
  field->setPlaceholderText(placeholder);
  field->setAccessibleName(placeholder);
  field->setFont(systemFont(14));
  return field;
}

Views::Views(QWidget& contentView, const Texts& texts, const Images& images,
             const std::function<QWidget*()>& makePanel)
    : contentView_(contentView) {
  installAccessibleRoles();
  buildOutlets(texts);
  buildSplash(images);
  buildBackground(texts, images);
  buildChecks(texts);
  buildMicrophoneScreen(texts, images);
  buildMenu(texts, images);
  buildCablePage(texts);
  buildWifiPage(texts, makePanel);
  buildStreamControls(texts);
  const auto enter = [this](View view, QWidget* widget) {
    if (!widget) return;
    const std::string_view name = nameOf(view);
    widget->setObjectName(QLatin1String(name.data(), static_cast<qsizetype>(name.size())));
    widget->hide();
    widgets_[indexOf(view)] = widget;
  };
#define QUORIN_ENTER(type, name) enter(View::name, name);
  QUORIN_VIEWS(QUORIN_ENTER)
#undef QUORIN_ENTER
  backgroundGradient_->show();
  splashOverlay_->raise();
  splashOverlay_->show();
  splashImageView_->setVisible(splashImageView_->hasImage());
}

void Views::buildOutlets(const Texts& texts) {
  inputTextField = new QLineEdit(&contentView_);
  outputTextView = new QTextEdit(&contentView_);
  offlineLabel = label({}, white(42, QFont::Bold), &contentView_);
  cableStatusLabel =
      label(texts.bundle("waiting_connection"), white(20, QFont::Bold), &contentView_);
}

void Views::buildSplash(const Images& images) {
  splashOverlay_ = new ShadeView(Qt::black, &contentView_);
  splashOverlay_->setAccessibleName(kProgramName);
  const auto image = images.imageForView("Logo 1");
  if (image) {  // the first thing to be seen, and drawn while everything else is built
    image->renderAhead(
        (QSizeF(kSplashPictureSide, kSplashPictureSide) * contentView_.devicePixelRatioF())
            .toSize());
  }
  splashImageView_ = picture(image, kProgramName, splashOverlay_);
}

/// What stands behind and above every page, and the pages that come before the menu's views.
void Views::buildBackground(const Texts& texts, const Images& images) {
  backgroundGradient_ = new GradientView(&contentView_);
  backgroundGradient_->setAccessibleName(kProgramName);
  backgroundGradient_->lower();
  topLogoImageView_ = picture(images.imageForView("Logo"), kProgramName, &contentView_);
  offlineLabel->raise();
  backButton_ = new PushButton(texts.bundle("back_button_title"), systemFont(18), looks::kBack,
                               &contentView_);
  menuContainer_ = new ContainerView(&contentView_);
  menuContainer_->setAccessibleName(texts.tr("menu.header"));
}

void Views::buildChecks(const Texts& texts) {
  audioCheckOverlay_ = new ShadeView(withAlpha(Qt::black, 0.15), &contentView_);
  audioCheckOverlay_->setAccessibleName(texts.tr("audio.verifying"));
  audioCheckLabel_ =
      label(texts.tr("audio.verifying"), white(20, QFont::DemiBold), audioCheckOverlay_);

  audioGuardView_ = new ShadeView(withAlpha(Qt::black, 0.2), &contentView_);
  audioGuardView_->setAccessibleName(texts.tr("audio.guard.title"));
  audioGuardTitleLabel_ = label(texts.tr("audio.guard.title"),
                                white(28, QFont::Bold, LineBreak::kWrap), audioGuardView_);
  audioGuardTextLabel_ = label(texts.tr("audio.guard.text.both"),
                               grey(14, QFont::Normal, LineBreak::kWrap), audioGuardView_);
  audioGuardStatusOutLabel_ = label({}, grey(13, QFont::Normal), audioGuardView_);
  audioGuardStatusInLabel_ = label({}, grey(13, QFont::Normal), audioGuardView_);
  audioGuardSetUpButton_ =
      new PushButton(texts.tr("audio.guard.setup"), systemFont(16, QFont::DemiBold),
                     looks::kProminent, audioGuardView_);
  audioGuardOpenSettingsButton_ =
      new PushButton(texts.tr("audio.guard.button"), systemFont(16, QFont::DemiBold), looks::kPlain,
                     audioGuardView_);
  audioGuardSetUpNoteLabel_ = label(texts.tr("audio.guard.setup.note"),
                                    grey(13, QFont::Normal, LineBreak::kWrap), audioGuardView_);
}

void Views::buildMicrophoneScreen(const Texts& texts, const Images& images) {
  micDeniedView_ = new ContainerView(&contentView_);
  micDeniedView_->setAccessibleName(texts.tr("mic.overlay.text"));
  micDeniedImageView_ = new ImageView(micDeniedView_);
  micDeniedImageView_->setImage(images.symbol(QStringLiteral("mic.slash"), colors::kWhite));
  micDeniedImageView_->setAccessibleName(texts.tr("mic.overlay.text"));
  micDeniedLabel_ = label(texts.tr("mic.overlay.text"), white(16, QFont::Normal, LineBreak::kWrap),
                          micDeniedView_);
  micDeniedAllowButton_ =
      new PushButton(texts.tr("mic.overlay.button"), systemFont(16, QFont::DemiBold),
                     looks::kProminent, micDeniedView_);
}

void Views::buildMenu(const Texts& texts, const Images& images) {
  menuHeaderLabel_ = label(texts.tr("menu.header"), white(22, QFont::Light), menuContainer_);

  const QString onlineTitle = texts.tr("cards.online.title");
  const QString onlineNote = texts.tr("cards.online.note");
  menuOnlineButton_ = card(onlineTitle, onlineNote);
  menuOnlineTitle_ =
      label(onlineTitle, white(24, QFont::DemiBold, LineBreak::kWrap), menuContainer_);
  menuOnlineNote_ = label(onlineNote, grey(14, QFont::Normal, LineBreak::kWrap), menuContainer_);
  menuOnlineImageView_ = picture(images.imageForView("internet"), onlineTitle, menuContainer_);

  const QString offlineTitle = texts.tr("cards.offline.title");
  const QString offlineNote = texts.tr("cards.offline.note");
  menuOfflineButton_ = card(offlineTitle, offlineNote);
  menuOfflineTitle_ =
      label(offlineTitle, white(24, QFont::DemiBold, LineBreak::kWrap), menuContainer_);
  menuOfflineNote_ = label(offlineNote, grey(14, QFont::Normal, LineBreak::kWrap), menuContainer_);
  menuOfflineImageView_ = picture(images.imageForView("Cable"), offlineTitle, menuContainer_);

  menuPrivacyButton_ = new LinkButton(systemFont(12), menuContainer_);
  menuPrivacyButton_->setTitle(texts.tr("footer.privacy"));
  menuCopyrightLabel_ =
      label(texts.tr("footer.copyright"), grey(12, QFont::Normal), menuContainer_);
}

void Views::buildCablePage(const Texts& texts) {
  const QString waiting = texts.bundle("waiting_connection");
  instructionsBox_ = new ContainerView(&contentView_);
  instructionsBox_->setAccessibleName(texts.tr("usb_instruction_title"));
  usbMainLabel_ = label(texts.tr("usb_instruction_title"), white(32, QFont::Bold, LineBreak::kWrap),
                        instructionsBox_);
  usbSecondary2Label_ =
      label(waiting, grey(16, QFont::DemiBold, LineBreak::kWrap), instructionsBox_);

  bottomBar_ = new ContainerView(&contentView_);
  cableStatusLabel->setParent(bottomBar_);

  const QString connected = texts.bundle("usb.connected");
  connectedContainer_ = new ContainerView(&contentView_);
  connectedContainer_->setAccessibleName(connected);
  connectedDotView_ = new DotView(connectedContainer_);
  connectedDotView_->setAccessibleName(connected);
  TextStyle style = white(48, QFont::Bold);
  style.alignment = Qt::AlignLeft;
  connectedLabel_ = label(connected, style, connectedContainer_);
  connectedQRImageView_ = new ImageView(connectedContainer_);
}

void Views::buildWifiPage(const Texts& texts, const std::function<QWidget*()>& makePanel) {
  onlineContainer_ = new ContainerView(&contentView_);
  onlineContainer_->setAccessibleName(texts.tr("cards.online.title"));
  if (QWidget* const panel = makePanel ? makePanel() : nullptr) {
    panel->setParent(onlineContainer_);
    onlineSwiftUIView_ = panel;
  }
  onlineTitleLabel_ = label(QStringLiteral("Con Internet"),
                            white(42, QFont::Bold, LineBreak::kWrap), onlineContainer_);
  onlineInfoLabel_ = label(QStringLiteral("0 dispositivos conectados"),
                           fainter(grey(16, QFont::DemiBold)), onlineContainer_);
  onlineHelpLabel_ = label(QStringLiteral("⚠️ En macOS, esta página es un preview UI. La "
                                          "transmisión UDP completa está en iOS."),
                           fainter(grey(12, QFont::Normal)), onlineContainer_);
  onlineIPField_ = field(QStringLiteral("IP del servidor"), QStringLiteral("192.168.1.10"));
  onlinePortField_ = field(QStringLiteral("Puerto"), QStringLiteral("9000"));
  onlineQRButton_ = new PushButton(QStringLiteral("Abrir QR (iPhone)"), systemFont(13),
                                   looks::kPlain, onlineContainer_);
  onlineQRButton_->setToolTip(QStringLiteral("Usa el escáner QR en la app iOS"));
  onlineQRImageView_ = new CodeView(onlineContainer_);
  onlineQRMicroLabel_ = label(texts.bundle("pairing_instructions"),
                              white(14, QFont::DemiBold, LineBreak::kWrap), onlineContainer_);
  onlineAddressView_ = new AddressView(texts, onlineContainer_);
  QObject::connect(onlineQRImageView_, &CodeView::clicked, onlineAddressView_, &AddressView::copy);
  onlineDetailLabel_ = label({}, grey(16, QFont::DemiBold, LineBreak::kWrap), onlineContainer_);
  onlineRetryButton_ =
      new PushButton(texts.tr("port.try_again"), systemFont(16), looks::kPlain, onlineContainer_);
  onlineOtherPortButton_ =
      new PushButton({}, systemFont(16, QFont::DemiBold), looks::kProminent, onlineContainer_);
  for (PhoneDot*& dot : onlineStatusDots_) {
    dot = new PhoneDot(texts.tr("phone.disconnect"), onlineContainer_);
    dot->hide();
  }
}

void Views::buildStreamControls(const Texts& texts) {
  playHereBox_ = new CheckBox(texts.tr("play_here"), &contentView_);
  silenceLabel_ =
      label(texts.tr("status.silent"),
            {.pixels = 14, .weight = QFont::DemiBold, .color = colors::kOrange}, &contentView_);
  silenceMoveButton_ =
      new PushButton(texts.tr("status.silent.move"), systemFont(13), looks::kPlain, &contentView_);
  levelMeter_ = new LevelMeter(texts.tr("sound_level"), &contentView_);
}

void Views::applyTypographyForBounds() const {
  onlineQRMicroLabel_->setWeight(QFont::Bold);
  onlineQRMicroLabel_->setPixelSize(32);
  onlineInfoLabel_->setWeight(QFont::DemiBold);
  onlineInfoLabel_->setPixelSize(16);
}

void Views::setSplashOpacity(double opacity) const {
  if (!splashOverlay_) return;
  splashOverlay_->setColor(withAlpha(Qt::black, opacity));
  splashImageView_->setOpacity(opacity);
}

void Views::removeSplash() {
  delete splashOverlay_;  // and the picture in it
  splashOverlay_ = nullptr;
  splashImageView_ = nullptr;
  widgets_[indexOf(View::splashOverlay_)] = nullptr;
  widgets_[indexOf(View::splashImageView_)] = nullptr;
}

}  // namespace quorin::app
