#pragma once

#include "window/layout.h"
#include "window/views.h"

namespace quorin::app {

/// Measures what the views show now.
class ViewTextMeasure : public TextMeasure {
 public:
  /// `views` outlives this.
  explicit ViewTextMeasure(const Views& views) : views_(views) {}

  double textHeight(View view, double width) const override;
  double textWidth(View view) const override;
  double lineHeight(View view) const override;
  double fontPixels(View view) const override;
  Size fittedSize(View view, double pixels) const override;

 private:
  const Views& views_;
};

}  // namespace quorin::app
