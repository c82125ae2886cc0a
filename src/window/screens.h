#pragma once

#include "window/layout.h"
#include "window/screen_state.h"
#include "window/views.h"

#include <functional>

namespace quorin::app {

/// Makes a state visible: shows its views, hides all others and lays the window out. The only
/// code that shows, hides or places a view. Main thread.
class Screens {
 public:
  /// `views` outlives this.
  explicit Screens(Views& views) : views_(views) {}

  const ScreenState& state() const { return state_; }

  /// `changed` runs after each update.
  void setOnUpdate(std::function<void()> changed) { onUpdate_ = std::move(changed); }

  /// Changes the state by `change` and makes the result visible.
  void update(const std::function<void(ScreenState&)>& change);

  /// Places every view anew; after a resize and after a change of a text.
  void layoutUI();

 private:
  void applyVisibility();
  void placeSharedViews();

  Views& views_;
  ScreenState state_;
  std::function<void()> onUpdate_ = [] {};
};

}  // namespace quorin::app
