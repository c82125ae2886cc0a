#pragma once

#include "ui/picture.h"

#include <QAbstractButton>
#include <QLabel>
#include <QWidget>

/// The window's own small controls. They draw themselves, so they look the same under every style
/// of the desktop, and shrink a text that would not fit its frame rather than cut it.
namespace quorin::app {

enum class LineBreak { kWrap, kTruncateTail };

struct TextStyle {
  double pixels = 13;
  QFont::Weight weight = QFont::Normal;
  QColor color = Qt::white;
  Qt::Alignment alignment = Qt::AlignHCenter;
  LineBreak lineBreak = LineBreak::kTruncateTail;
};

/// A text that ignores clicks: they go to the view beneath. Wrapped text stands at the top of its
/// frame, a single line in the middle. Never interprets markup.
class NonInteractiveLabel : public QLabel {
  Q_OBJECT
 public:
  NonInteractiveLabel(const QString& text, const TextStyle& style, QWidget* parent);

  void setTextColor(const QColor& color);
  void setPixelSize(double pixels);

 protected:
  void paintEvent(QPaintEvent* event) override;
};

/// A picture, as large as its frame and its proportion allow, centred. Ignores clicks as well.
class NonInteractiveImageView : public QWidget {
  Q_OBJECT
 public:
  NonInteractiveImageView(PicturePtr image, QWidget* parent);

  void setImage(PicturePtr image);
  bool hasImage() const { return image_ != nullptr; }

  void setOpacity(double opacity);  ///< 0 to 1

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  PicturePtr image_;
  double opacity_ = 1;
};

/// A button that its subclass draws. Space and Return press it. The focus ring shows only after
/// keyboard navigation.
class PaintedButton : public QAbstractButton {
  Q_OBJECT
 public:
  using QAbstractButton::QAbstractButton;

  bool showsFocus() const { return hasFocus() && byKeyboard_; }

 protected:
  void focusInEvent(QFocusEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

  /// Around `frame`, where the focus is shown.
  void paintFocus(QPainter& painter, const QRectF& frame, double radius) const;

 private:
  bool byKeyboard_ = false;
};

struct ButtonLook {
  QColor face;
  double cornerRadius = 8;
  double alpha = 1;
};

namespace looks {
inline constexpr ButtonLook kPlain{{72, 72, 75}};
inline constexpr ButtonLook kBack{{72, 72, 75}, 8, 0.85};
inline constexpr ButtonLook kProminent{{46, 92, 214}};
inline constexpr ButtonLook kDestructive{{201, 32, 44}};
inline constexpr ButtonLook kCard{{54, 54, 58}, 22, 0.9};
}  // namespace looks

/// A button with a white title on a rounded face.
class PushButton : public PaintedButton {
  Q_OBJECT
 public:
  PushButton(const QString& title, const QFont& font, const ButtonLook& look, QWidget* parent);

  /// The natural size with `title`.
  QSize sizeFor(const QString& title) const;
  QSize sizeHint() const override { return sizeFor(text()); }

  void setLook(const ButtonLook& look);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  ButtonLook look_;
};

/// A button that looks like a hyperlink: no face, underlined and with a pointing hand while the
/// mouse is over it in the active window.
class LinkButton : public PushButton {
  Q_OBJECT
 public:
  LinkButton(const QString& title, const QFont& font, QWidget* parent);

  /// The new title starts without underline, also under the mouse.
  void setTitle(const QString& title);
  void applyUnderline(bool underlined);

 protected:
  bool event(QEvent* event) override;
};

}  // namespace quorin::app
