#pragma once

#include "ui/address_view.h"
#include "ui/containers.h"
#include "ui/controls.h"
#include "ui/phone_dot.h"
#include "ui/qr_code.h"
#include "ui/stream_controls.h"
#include "ui/texts.h"
#include "window/screen_state.h"
#include "window/view_table.h"

#include <QLineEdit>
#include <QTextEdit>
#include <QWidget>
#include <array>
#include <memory>

namespace quorin::app {

/// Of a label or a button; empty for other views.
QString textOf(const QWidget& view);

/// Every view of the window. Built once, all hidden but the splash; the widgets belong to the
/// content view. The creator connects the buttons. Main thread.
struct Views {
  /// `panel` is the server panel, which the Wi-Fi page holds and no screen shows; may be null.
  Views(QWidget& content, const Texts& texts, std::unique_ptr<QWidget> panel = nullptr);
  Views(const Views&) = delete;
  Views& operator=(const Views&) = delete;

  /// The widget of this row; null for the two splash views once they have been removed.
  QWidget* find(View view) const { return widgets_[indexOf(view)]; }

  /// Makes every font `scale` times as large as the table says.
  void applyTypographyForBounds(double scale);

  /// 1 at the start, 0 when faded out.
  void setSplashOpacity(double opacity) const;

  /// Takes the splash out of the window for good.
  void removeSplash();

  QWidget* contentView;

#define QUORIN_MEMBER(kind, name, ...) kind* name = nullptr;
  QUORIN_VIEWS(QUORIN_MEMBER)
#undef QUORIN_MEMBER
  QWidget* onlineSwiftUIView_;
  std::array<PhoneDot*, kMaxStatusDots> onlineStatusDots_{};

 private:
  void enter(View view, QWidget* widget, const char* name);

  std::array<QWidget*, kViewCount> widgets_{};
  std::array<double, kViewCount> fontPixels_{};  ///< at scale 1; -1 where the table has none
  double scale_ = 1;
};

}  // namespace quorin::app
