#pragma once

#include <QColor>
#include <QFont>
#include <QLabel>
#include <QPalette>
#include <QString>

/// The panel's one look: dark, whatever the desktop's theme is.
namespace quorin::panel::style {

inline constexpr QColor kBackground{30, 30, 32};
inline constexpr QColor kControlBackground{42, 42, 45};  ///< the bands above and below
inline constexpr QColor kBoxBackground{44, 44, 47};
inline constexpr QColor kDivider{62, 62, 66};
inline constexpr QColor kPrimary{255, 255, 255};
inline constexpr QColor kSecondary{168, 168, 174};
inline constexpr QColor kBlue{64, 156, 255};
inline constexpr QColor kGreen{48, 209, 88};
inline constexpr QColor kOrange{255, 159, 10};
inline constexpr QColor kGray{142, 142, 147};
inline constexpr QColor kStartFace{0, 104, 220};  ///< dark enough for white text on it
inline constexpr QColor kStopFace{200, 42, 36};

/// Named text sizes, in pixels.
inline constexpr int kTitle2 = 20;
inline constexpr int kTitle3 = 18;
inline constexpr int kHeadline = 16;
inline constexpr int kBody = 14;
inline constexpr int kCaption = 12;

struct TextLook {
  int pixels = kBody;
  QFont::Weight weight = QFont::Normal;
  QColor color = kPrimary;
  bool monospaced = false;
};

QFont font(const TextLook& look);

/// A label in plain text, not interpreted as rich text whatever it holds.
QLabel* makeLabel(const QString& text, const TextLook& look);
void setColor(QLabel& label, const QColor& color);

QPalette darkPalette();

}  // namespace quorin::panel::style
