#pragma once

#include "ui/address_view.h"
#include "ui/code_view.h"
#include "ui/containers.h"
#include "ui/controls.h"
#include "ui/images.h"
#include "ui/phone_dot.h"
#include "ui/stream_controls.h"
#include "ui/texts.h"
#include "window/view_id.h"

#include <QLineEdit>
#include <QTextEdit>
#include <QWidget>
#include <array>
#include <functional>

namespace quorin::app {

/// Every view of the window. Built once, all hidden but the splash; the widgets belong to the
/// content view. Whoever builds this connects the buttons. Main thread.
///
/// A view that does not exist is null; all code that touches a view by its `View` skips it then.
struct Views {
  /// `makePanel` builds the server panel for the Wi-Fi page; it may be empty or return null.
  Views(QWidget& contentView, const Texts& texts, const Images& images,
        const std::function<QWidget*()>& makePanel = {});
  Views(const Views&) = delete;
  Views& operator=(const Views&) = delete;

  /// The widget of this name, null when there is none.
  QWidget* find(View view) const { return widgets_[indexOf(view)]; }

  /// The fonts of the Wi-Fi page that depend on nothing but the page.
  void applyTypographyForBounds() const;

  /// 1 at the start, 0 when faded out.
  void setSplashOpacity(double opacity) const;

  /// Takes the splash out of the window for good.
  void removeSplash();

  QWidget& contentView_;

#define QUORIN_MEMBER(type, name) type* name = nullptr;
  QUORIN_VIEWS(QUORIN_MEMBER)
#undef QUORIN_MEMBER
  std::array<PhoneDot*, kMaxStatusDots> onlineStatusDots_{};

 private:
  void buildOutlets(const Texts& texts);
  void buildSplash(const Images& images);
  void buildBackground(const Texts& texts, const Images& images);
  void buildChecks(const Texts& texts);
  void buildMicrophoneScreen(const Texts& texts, const Images& images);
  void buildMenu(const Texts& texts, const Images& images);
  void buildCablePage(const Texts& texts);
  void buildStreamControls(const Texts& texts);
  void buildWifiPage(const Texts& texts, const std::function<QWidget*()>& makePanel);

  PushButton* card(const QString& title, const QString& note);
  QLineEdit* field(const QString& placeholder, const QString& text);

  std::array<QWidget*, kViewCount> widgets_{};
};

}  // namespace quorin::app
