#include "ui/controls.h"

#include "ui/appearance.h"

#include <QEnterEvent>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <utility>

namespace quorin::app {
namespace {

constexpr int kSmallestFittedPixels = 9;

/// What a line of `font` leaves blank above the accents of its capitals and below its descenders.
struct Blank {
  int above;
  int below;
};

Blank blankOf(const QFontMetrics& metrics) {
  const QRect ink = metrics.tightBoundingRect(QStringLiteral("ÁÑgjp"));
  return {std::max(0, metrics.ascent() + ink.top()),
          std::max(0, metrics.descent() - ink.bottom() - 1)};
}

/// A text as it stands in its frame, whose ink is cut nowhere: a frame that is lower than the
/// line takes from what is blank, and one that is too small makes the font smaller.
struct FittedText {
  QFont font;
  QRect place;
};

FittedText fit(QFont font, const QString& text, const QRect& frame, int flags) {
  for (;;) {
    const QFontMetrics metrics(font);
    const QSize needed = metrics.boundingRect(QRect(0, 0, frame.width(), 0), flags, text).size();
    const int excess = needed.height() - frame.height();
    const bool isNarrowEnough = needed.width() <= frame.width();
    if (isNarrowEnough && excess <= 0) return {font, frame};

    const Blank blank = blankOf(metrics);
    const bool isSmallest = font.pixelSize() <= kSmallestFittedPixels;
    if ((isNarrowEnough && excess <= blank.above + blank.below) || isSmallest) {
      return {font, frame.adjusted(0, -std::clamp(excess, 0, blank.above), 0,
                                   std::clamp(excess - blank.above, 0, blank.below))};
    }
    font.setPixelSize(font.pixelSize() - 1);
  }
}

}  // namespace

NonInteractiveLabel::NonInteractiveLabel(const QString& text, const TextStyle& style,
                                         QWidget* parent)
    : QLabel(parent), lineBreak_(style.lineBreak) {
  setAttribute(Qt::WA_TransparentForMouseEvents);
  setTextFormat(Qt::PlainText);
  setFont(systemFont(style.pixels, style.weight));
  setTextColor(style.color);
  const bool wraps = lineBreak_ == LineBreak::kWrap;
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
  const bool wraps = lineBreak_ == LineBreak::kWrap;
  const int flags = static_cast<int>(alignment()) | (wraps ? Qt::TextWordWrap : Qt::TextSingleLine);
  const QString shown = wraps ? text() : fontMetrics().elidedText(text(), Qt::ElideRight, width());
  const auto [font, place] = fit(this->font(), shown, rect(), flags);
  painter.setFont(font);
  painter.drawText(place, flags, shown);
}

ImageView::ImageView(pictures::PicturePtr image, QWidget* parent)
    : QWidget(parent), image_(std::move(image)) {}

void ImageView::setImage(pictures::PicturePtr image) {
  image_ = std::move(image);
  update();
}

void ImageView::setOpacity(double opacity) {
  opacity_ = opacity;
  update();
}

void ImageView::paintEvent(QPaintEvent*) {
  if (!image_) return;
  QPainter painter(this);
  painter.setOpacity(opacity_);
  image_->paint(painter, fitted(*image_, rect()));
}

NonInteractiveImageView::NonInteractiveImageView(pictures::PicturePtr image, QWidget* parent)
    : ImageView(std::move(image), parent) {
  setAttribute(Qt::WA_TransparentForMouseEvents);
}

void PaintedButton::focusInEvent(QFocusEvent* event) {
  switch (event->reason()) {
    case Qt::TabFocusReason:
    case Qt::BacktabFocusReason:
    case Qt::ShortcutFocusReason:
      byKeyboard_ = true;
      break;
    case Qt::MouseFocusReason:
      byKeyboard_ = false;
      break;
    default:  // focus returned by a window or menu: no change
      break;
  }
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

QSize PushButton::sizeHint() const {
  constexpr QSize kPadding(36, 16);
  return fontMetrics().size(Qt::TextSingleLine, text()) + kPadding;
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
  painter.setPen(QPen(withAlpha(Qt::white, highContrast() ? 1 : 0.10), 1));
  painter.setBrush(face);
  painter.drawRoundedRect(frame.adjusted(0.5, 0.5, -0.5, -0.5), look_.cornerRadius,
                          look_.cornerRadius);

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
  underlined_ = underlined;
  update();
}

void LinkButton::enterEvent(QEnterEvent* event) {
  PushButton::enterEvent(event);
  if (!isActiveWindow()) return;
  applyUnderline(true);
  setCursor(Qt::PointingHandCursor);
}

void LinkButton::leaveEvent(QEvent* event) {
  PushButton::leaveEvent(event);
  applyUnderline(false);
  setCursor(Qt::ArrowCursor);
}

bool LinkButton::event(QEvent* event) {
  if (event->type() == QEvent::WindowDeactivate) applyUnderline(false);
  return PushButton::event(event);
}

void LinkButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  QFont styled = font();
  styled.setUnderline(underlined_);
  painter.setFont(styled);
  painter.setPen(withAlpha(colors::kWhite, 0.95));
  const QString title = fontMetrics().elidedText(text(), Qt::ElideRight, width());
  painter.drawText(rect(), Qt::AlignCenter | Qt::TextSingleLine, title);

  QRectF frame(0, 0, fontMetrics().horizontalAdvance(title) + 16, fontMetrics().height() + 8);
  frame.moveCenter(QRectF(rect()).center());
  paintFocus(painter, frame, 6);
}

}  // namespace quorin::app
