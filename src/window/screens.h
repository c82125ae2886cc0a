#pragma once

#include "window/layout.h"
#include "window/screen_state.h"
#include "window/views.h"

#include <QString>
#include <array>
#include <functional>

namespace quorin::app {

/// Makes a state visible: shows its views, hides all others, lays the window out, and announces to
/// screen readers what is new. The only code that shows, hides or places a view. Main thread.
class Screens {
 public:
  /// `views` outlives this.
  explicit Screens(Views& views) : views_(views) {}

  const ScreenState& state() const { return state_; }

  /// `changed` runs after each update.
  void setOnUpdate(std::function<void()> changed) { onUpdate_ = std::move(changed); }

  /// Changes the state by `change` and makes the result visible. After a change of a text, too.
  void update(const std::function<void(ScreenState&)>& change);

  /// Places every view anew, after a resize.
  void layoutUI();

  /// The user's text size, the minimum of the window's scale.
  void setTextScale(double scale);

 private:
  void applyVisibility();
  void announce();

  Views& views_;
  ScreenState state_;
  std::function<void()> onUpdate_ = [] {};
  Screen announcedScreen_ = Screen::kNone;
  std::array<QString, 2> announced_;  ///< the status texts last announced
};

}  // namespace quorin::app
