#pragma once

#include "window/screen_state.h"
#include "window/view_table.h"

#include <array>
#include <optional>
#include <vector>

/// The frame of every view: pure geometry. Sizes in device-independent pixels ("points"), origin
/// at the bottom left, y growing upwards.
namespace quorin::app {

struct Size {
  double width = 0;
  double height = 0;

  bool operator==(const Size&) const = default;
};

struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  double top() const { return y + height; }
  double right() const { return x + width; }
  bool operator==(const Rect&) const = default;
};

/// The sizes of the texts that the views show now, in the fonts they show them in. This one is for
/// while no text can be seen: 0 everywhere.
class TextMeasure {
 public:
  virtual ~TextMeasure() = default;

  /// Wrapped at `width`, rounded up to a whole point.
  virtual double textHeight(View, double /*width*/) const { return 0; }

  /// On one line.
  virtual double textWidth(View) const { return 0; }

  /// On one line with the font at `pixels`.
  virtual Size fittedSize(View, double /*pixels*/) const { return {}; }

  /// Of the font: ascender - descender + leading.
  virtual double lineHeight(View) const { return 0; }

  virtual double fontPixels(View) const { return 0; }
};

struct Layout {
  /// In the coordinates of the view's container; none for a view that has no place now.
  std::array<std::optional<Rect>, kViewCount> frames;
  std::vector<Rect> statusDots;  ///< one for each dot that is shown
  double connectedFontPixels = 0;

  std::optional<Rect>& operator[](View view) { return frames[indexOf(view)]; }
  const std::optional<Rect>& operator[](View view) const { return frames[indexOf(view)]; }
};

/// The side of the splash's picture, where the window is not too small for it.
inline constexpr double kSplashPictureSide = 420;

/// Places every view, visible or not.
Layout layoutUIForBounds(Size bounds, const ScreenState& state, const TextMeasure& measure);

}  // namespace quorin::app
