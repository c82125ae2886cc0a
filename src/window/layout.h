#pragma once

#include "window/screen_state.h"
#include "window/view_id.h"

#include <array>
#include <optional>
#include <vector>

/// Where every view stands: pure geometry. Sizes in device-independent pixels ("points"), origin
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

/// The sizes of the texts that the views show now, in the fonts they show them in. A view that
/// does not exist measures 0.
class TextMeasure {
 public:
  virtual ~TextMeasure() = default;

  /// Wrapped at `width`, rounded up to a whole point.
  virtual double textHeight(View view, double width) const = 0;

  /// On one line.
  virtual double textWidth(View view) const = 0;

  /// Of the font: ascender - descender + leading.
  virtual double lineHeight(View view) const = 0;

  virtual double fontPixels(View view) const = 0;

  /// On one line with the font at `pixels`.
  virtual Size fittedSize(View view, double pixels) const = 0;
};

/// Where no text can be seen.
class NoTexts final : public TextMeasure {
 public:
  double textHeight(View, double) const override { return 0; }
  double textWidth(View) const override { return 0; }
  double lineHeight(View) const override { return 0; }
  double fontPixels(View) const override { return 0; }
  Size fittedSize(View, double) const override { return {}; }
};

struct Layout {
  /// In the coordinates of the view's container; none for a view that has no place.
  std::array<std::optional<Rect>, kViewCount> frames;
  std::vector<Rect> statusDots;  ///< one for each dot that is shown
  double connectedFontPixels = 0;

  std::optional<Rect>& operator[](View view) { return frames[indexOf(view)]; }
  const std::optional<Rect>& operator[](View view) const { return frames[indexOf(view)]; }
};

/// The side of the splash's picture, where the window is not too small for it.
inline constexpr double kSplashPictureSide = 420;

/// The container whose coordinates a view's frame is in, where that is not as large as the
/// window's content; `View::count` for all others.
View smallContainerOf(View view);

Layout layoutUIForBounds(Size bounds, const ScreenState& state, const TextMeasure& measure);

/// Sizes and centres the green dot and its label on the cable page.
void centerConnectedPairInBounds(Size bounds, const TextMeasure& measure, Layout& layout);

}  // namespace quorin::app
