#pragma once

#include <QApplication>
#include <QColor>
#include <QFont>

/// The one dark look, whatever the desktop's theme is.
namespace quorin::app {

namespace colors {
inline constexpr QColor kWhite{255, 255, 255};
inline constexpr QColor kLightGrey{170, 170, 170};
inline constexpr QColor kDarkGrey{85, 85, 85};
inline constexpr QColor kGreen{48, 209, 88};
inline constexpr QColor kOrange{255, 159, 10};
inline constexpr QColor kAccent{92, 200, 251};  ///< the keyboard's focus, and parts of pictures
}  // namespace colors

/// `color` seen through at `alpha` (0 to 1).
QColor withAlpha(QColor color, double alpha);

/// The system's font at `pixels` high.
QFont systemFont(double pixels, QFont::Weight weight = QFont::Normal);

/// The user's text size: dialogs multiply their sizes by it, and menus and tool tips follow. Never
/// below 1.
void setTextScale(double scale);
double textScale();

/// White on black, if the desktop is set to high contrast. Affects later painting.
void setHighContrast(bool on);
bool highContrast();

/// For the whole program: every window it opens is dark.
void applyDarkAppearance(QApplication& application);

}  // namespace quorin::app
