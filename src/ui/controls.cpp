#include "ui/controls.h"

#include "ui/appearance.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>
#include <algorithm>
#include <utility>

namespace quorin::app {
namespace {

constexpr int kSmallestFittedPixels = 9;

/// A text as it stands in its frame, whose ink is cut nowhere: a frame that is lower than the
/// line takes from what is blank, and one that is too small makes the font smaller.
struct FittedText {
  QFont font;
  QRect place;
};

FittedText fit(QFont font, const QString& text, const QRect& frame, int flags) {
  for (;; font.setPixelSize(font.pixelSize() - 1)) {
    const QFontMetrics metrics(font);
    const QSize needed = metrics.boundingRect(QRect(0, 0, frame.width(), 0), flags, text).size();
    const int excess = std::max(0, needed.height() - frame.height());
    // What a line leaves blank above the accents of its capitals and below its descenders.
    const QRect ink = metrics.tightBoundingRect(QStringLiteral("ÁÑgjp"));
    const int above = std::max(0, metrics.ascent() + ink.top());
    const int below = std::max(0, metrics.descent() - ink.bottom() - 1);
    const bool fits = needed.width() <= frame.width() && excess <= above + below;
    if (fits || font.pixelSize() <= kSmallestFittedPixels) {
      return {font,
              frame.adjusted(0, -std::min(excess, above), 0, std::clamp(excess - above, 0, below))};
    }
  }
}

}  // namespace

NonInteractiveLabel::NonInteractiveLabel(const QString& text, const TextStyle& style,
                                         QWidget* parent)
    : QLabel(parent) {
  setAttribute(Qt::WA_TransparentForMouseEvents);
  setTextFormat(Qt::PlainText);
  setFont(systemFont(style.pixels, style.weight));
  setTextColor(style.color);
  const bool wraps = style.lineBreak == LineBreak::kWrap;
  setWordWrap(wraps);
  setAlignment(style.alignment | (wraps ? Qt::AlignTop : Qt::AlignVCenter));
  setText(text);
}

void NonInteractiveLabel::setTextColor(const QColor& color) {
  QPalette palette = this->palette();
  if (palette.color(QPalette::WindowText) == color) return;
  palette.setColor(QPalette::WindowText, color);
  setPalette(palette);
}

void NonInteractiveLabel::setPixelSize(double pixels) {
  if (font().pixelSize() != qRound(pixels))
    setFont(systemFont(pixels, QFont::Weight(font().weight())));
}

void NonInteractiveLabel::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QColor color = palette().color(QPalette::WindowText);
  const bool isGrey = color.saturation() == 0;
  painter.setPen(highContrast() && isGrey ? colors::kWhite : color);
  const int flags =
      static_cast<int>(alignment()) | (wordWrap() ? Qt::TextWordWrap : Qt::TextSingleLine);
  const QString shown =
      wordWrap() ? text() : fontMetrics().elidedText(text(), Qt::ElideRight, width());
  const auto [font, place] = fit(this->font(), shown, rect(), flags);
  painter.setFont(font);
  painter.drawText(place, flags, shown);
}

NonInteractiveImageView::NonInteractiveImageView(PicturePtr image, QWidget* parent)
    : QWidget(parent), image_(std::move(image)) {
  setAttribute(Qt::WA_TransparentForMouseEvents);
}

void NonInteractiveImageView::setImage(PicturePtr image) {
  image_ = std::move(image);
  update();
}

void NonInteractiveImageView::setOpacity(double opacity) {
  opacity_ = opacity;
  update();
}

void NonInteractiveImageView::paintEvent(QPaintEvent*) {
  if (!image_) return;
  QPainter painter(this);
  painter.setOpacity(opacity_);
  image_->paint(painter, fitted(*image_, rect()));
}

void PaintedButton::focusInEvent(QFocusEvent* event) {
  const Qt::FocusReason reason = event->reason();
  // A window or a menu that gives the focus back changes nothing.
  byKeyboard_ = reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason ||
                reason == Qt::ShortcutFocusReason ||
                (byKeyboard_ && reason != Qt::MouseFocusReason);
  QAbstractButton::focusInEvent(event);
}

void PaintedButton::paintFocus(QPainter& painter, const QRectF& frame, double radius) const {
  if (!showsFocus()) return;
  constexpr double kWidth = 2.5;
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(colors::kAccent, kWidth));
  painter.setBrush(Qt::NoBrush);
  const double inset = kWidth / 2;
  painter.drawRoundedRect(frame.adjusted(inset, inset, -inset, -inset), radius - inset,
                          radius - inset);
}

void PaintedButton::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
    click();
  } else {
    QAbstractButton::keyPressEvent(event);
  }
}

PushButton::PushButton(const QString& title, const QFont& font, const ButtonLook& look,
                       QWidget* parent)
    : PaintedButton(parent), look_(look) {
  setText(title);
  setFont(font);
  setAttribute(Qt::WA_Hover);
}

QSize PushButton::sizeFor(const QString& title) const {
  constexpr QSize kPadding(36, 16);
  return fontMetrics().size(Qt::TextSingleLine, title) + kPadding;
}

void PushButton::setLook(const ButtonLook& look) {
  look_ = look;
  update();
}

void PushButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QRectF frame(rect());

  QColor face = look_.face;
  if (isDown()) {
    face = face.darker(125);
  } else if (underMouse()) {
    face = face.lighter(115);
  }
  painter.setOpacity(isEnabled() ? look_.alpha : look_.alpha / 2);
  if (face.alpha() > 0) {
    painter.setPen(QPen(withAlpha(Qt::white, highContrast() ? 1 : 0.10), 1));
    painter.setBrush(face);
    painter.drawRoundedRect(frame.adjusted(0.5, 0.5, -0.5, -0.5), look_.cornerRadius,
                            look_.cornerRadius);
  }

  constexpr int kMargin = 8;
  constexpr int kFlags = Qt::AlignCenter | Qt::TextSingleLine;
  const auto [font, place] =
      fit(this->font(), text(), rect().adjusted(kMargin, 0, -kMargin, 0), kFlags);
  painter.setFont(font);
  painter.setPen(colors::kWhite);
  painter.drawText(place, kFlags, text());

  painter.setOpacity(1);
  paintFocus(painter, frame, look_.cornerRadius);
}

LinkButton::LinkButton(const QString& title, const QFont& font, QWidget* parent)
    : PushButton({}, font, {.face = Qt::transparent, .cornerRadius = 6, .alpha = 0.95}, parent) {
  setTitle(title);
}

void LinkButton::setTitle(const QString& title) {
  setText(title);
  // The title is painted literally, so "&" must not define a shortcut.
  setShortcut({});
  setAccessibleName(title);
  applyUnderline(false);
}

void LinkButton::applyUnderline(bool underlined) {
  QFont styled = font();
  styled.setUnderline(underlined);
  setFont(styled);
  setCursor(underlined ? Qt::PointingHandCursor : Qt::ArrowCursor);
}

bool LinkButton::event(QEvent* event) {
  if (event->type() == QEvent::Enter && isActiveWindow()) applyUnderline(true);
  if (event->type() == QEvent::Leave || event->type() == QEvent::WindowDeactivate) {
    applyUnderline(false);
  }
  return PushButton::event(event);
}

}  // namespace quorin::app
