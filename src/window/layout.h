#pragma once

#include "window/screen_state.h"
#include "window/views.h"

#include <QSizeF>
#include <array>
#include <optional>
#include <vector>

/// The frame of every view. Sizes in device-independent pixels ("points"), origin
/// at the bottom left, y growing upwards.
namespace quorin::app {

struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  double top() const { return y + height; }
};

struct Layout {
  /// In the coordinates of the view's container; none for a view that has no place now.
  std::array<std::optional<Rect>, kViewCount> frames;
  std::vector<Rect> statusDots;  ///< one for each dot that is shown
  double connectedFontPixels = 64;

  std::optional<Rect>& operator[](View view) { return frames[indexOf(view)]; }
  const std::optional<Rect>& operator[](View view) const { return frames[indexOf(view)]; }
};

/// Places every view, visible or not, by the texts that `views` show, whose fonts are `scale` times
/// as large as in the layout.
Layout layoutUIForBounds(QSizeF bounds, const ScreenState& state, const Views& views, double scale);

}  // namespace quorin::app
