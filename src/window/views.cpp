#include "window/views.h"

#include "core/identity.h"
#include "ui/accessibility.h"
#include "ui/appearance.h"
#include "ui/picture.h"

#include <QShortcut>
#include <cmath>
#include <utility>

namespace quorin::app {
namespace {

TextStyle white(double pixels, QFont::Weight weight = QFont::Normal) {
  return {.pixels = pixels, .weight = weight, .color = colors::kWhite};
}

TextStyle grey(double pixels, QFont::Weight weight = QFont::Normal) {
  return {.pixels = pixels, .weight = weight, .color = colors::kLightGrey};
}

TextStyle orange(double pixels, QFont::Weight weight) {
  return {.pixels = pixels, .weight = weight, .color = colors::kOrange};
}

/// Lets a little of the background through.
TextStyle fainter(TextStyle style) {
  style.color = withAlpha(style.color, 0.9);
  return style;
}

TextStyle wrapped(TextStyle style) {
  style.lineBreak = LineBreak::kWrap;
  return style;
}

TextStyle atTheLeft(TextStyle style) {
  style.alignment = Qt::AlignLeft;
  return style;
}

void describeCard(PushButton& card, const QLabel& title, const QLabel& note) {
  card.setAccessibleName(title.text());
  card.setAccessibleDescription(note.text());
}

}  // namespace

QString textOf(const QWidget& view) {
  if (const auto* const label = qobject_cast<const QLabel*>(&view)) return label->text();
  const auto* const button = qobject_cast<const QAbstractButton*>(&view);
  return button ? button->text() : QString();
}

Views::Views(QWidget& content, const Texts& texts, std::unique_ptr<QWidget> panel)
    : contentView(&content), onlineSwiftUIView_(panel.release()) {
  installAccessibleRoles();
  const auto tr = [&texts](TrKey key) { return texts.tr(key); };
#define QUORIN_BUILD(kind, name, container, shown, ...)  \
  name = new kind(__VA_ARGS__ __VA_OPT__(, ) container); \
  enter(View::name, name, #name);
  QUORIN_VIEWS(QUORIN_BUILD)
#undef QUORIN_BUILD

  for (PhoneDot*& dot : onlineStatusDots_) {
    dot = new PhoneDot(tr("phone.disconnect"), onlineContainer_);
    dot->hide();
  }
  if (onlineSwiftUIView_) {
    onlineSwiftUIView_->setParent(onlineContainer_);
    onlineSwiftUIView_->hide();
  }
  onlineIPField_->setPlaceholderText("IP del servidor");
  onlinePortField_->setPlaceholderText("Puerto");
  onlineQRButton_->setToolTip("Usa el escáner QR en la app iOS");
  describeCard(*menuOnlineButton_, *menuOnlineTitle_, *menuOnlineNote_);
  describeCard(*menuOfflineButton_, *menuOfflineTitle_, *menuOfflineNote_);
  QObject::connect(onlineQRImageView_, &CodeView::clicked, onlineAddressView_, &AddressView::copy);
  for (const QKeySequence keys : {Qt::Key_Escape | Qt::NoModifier, Qt::ALT | Qt::Key_Left}) {
    // Active while the button is visible.
    new QShortcut(keys, backButton_, backButton_, &QAbstractButton::click);
  }
  backButton_->raise();
  splashOverlay_->raise();
  splashOverlay_->show();
  backgroundGradient_->show();
  splashImageView_->setVisible(splashImageView_->hasImage());
}

void Views::enter(View view, QWidget* widget, const char* name) {
  widget->setObjectName(QLatin1String(name));
  widget->hide();
  widgets_[indexOf(view)] = widget;
  fontPixels_[indexOf(view)] = widget->font().pixelSize();
}

void Views::applyTypographyForBounds(double scale) {
  if (std::exchange(scale_, scale) == scale) return;
  for (std::size_t i = 0; i < kViewCount; ++i) {
    if (!widgets_[i] || fontPixels_[i] <= 0) continue;
    QFont font = widgets_[i]->font();
    font.setPixelSize(static_cast<int>(std::lround(fontPixels_[i] * scale)));
    widgets_[i]->setFont(font);
  }
  onlineAddressView_->setScale(scale);
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
