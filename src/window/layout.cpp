#include "window/layout.h"

#include <algorithm>
#include <cmath>

namespace quorin::app {
namespace {

using enum View;

/// Lays the window out once, page by page.
class Planner {
 public:
  Planner(QSizeF bounds, const ScreenState& state, const Views& views, double scale)
      : w_(bounds.width()), h_(bounds.height()), state_(state), views_(views), scale_(scale) {}

  Layout layOut() {
    const Rect whole{0, 0, w_, h_};
    for (const View view :
         {backgroundGradient_, menuContainer_, audioCheckOverlay_, audioGuardView_, micDeniedView_,
          onlineContainer_, connectedContainer_, splashOverlay_}) {
      layout_[view] = whole;
    }
    layOutLogos();
    // Measuring texts loads the system's fonts, which the splash need not wait for.
    if (state_.splash) return std::move(layout_);
    layOutCablePage();
    const double backWidth = std::min(0.3 * w_, std::ceil(widthOf(backButton_)) + 24);
    layout_[backButton_] = {16, h_ - 80, std::max(120.0, backWidth), 34};
    layOutMenu();
    layOutChecks();
    layOutWifiPage();
    layOutStreamControls();
    centerConnectedPairInBounds();
    return std::move(layout_);
  }

 private:
  /// `width` x `height` at height `y`, centred between left and right.
  Rect centred(double y, double width, double height) const {
    return {(w_ - width) / 2, y, width, height};
  }

  // The sizes of the texts that the views show now, in the fonts they show them in.

  /// Wrapped at `width`, rounded up to a whole point.
  double heightOf(View view, double width) const {
    const QWidget& widget = *views_.find(view);
    const QRect room(0, 0, static_cast<int>(std::floor(width * scale_)), 0);
    const auto flags = Qt::TextWordWrap;
    return std::ceil(widget.fontMetrics().boundingRect(room, flags, textOf(widget)).height() /
                     scale_);
  }
  /// On one line.
  double widthOf(View view) const { return sizeOf(view, pixelsOf(view)).width(); }

  /// On one line with the font at `pixels`.
  QSizeF sizeOf(View view, double pixels) const {
    const QWidget& widget = *views_.find(view);
    QFont font = widget.font();
    font.setPixelSize(static_cast<int>(std::lround(pixels * scale_)));
    return QFontMetrics(font).size(Qt::TextSingleLine, textOf(widget)).toSizeF() / scale_;
  }
  /// Of the font: ascender - descender + leading.
  double lineHeightOf(View view) const {
    const QFontMetricsF metrics(views_.find(view)->font());
    return (metrics.ascent() + metrics.descent() + metrics.leading()) / scale_;
  }
  double pixelsOf(View view) const { return views_.find(view)->font().pixelSize() / scale_; }

  void layOutCablePage() {
    layout_[bottomBar_] = {0, 0, w_, 72};
    layout_[cableStatusLabel] = {0, 20, w_, 32};
    layout_[offlineLabel] = {0, h_ - 96, w_, 52};

    constexpr double kBoxHeight = 340;
    constexpr double kTextWidth = 620 - 48;
    layout_[instructionsBox_] = centred((h_ - kBoxHeight) / 2, 620, kBoxHeight);
    const double mainY = kBoxHeight / 2 + 8;
    const double mainHeight = std::max(36.0, heightOf(usbMainLabel_, kTextWidth));
    const double height = std::max(22.0, heightOf(usbSecondary2Label_, kTextWidth));
    layout_[usbMainLabel_] = {24, mainY, kTextWidth, mainHeight};
    layout_[usbSecondary2Label_] = {24, mainY - height - 24, kTextWidth, height};
  }

  void layOutMenu() {
    const double middleX = w_ / 2;
    const double middleY = h_ / 2;
    layOutCard(middleX - 310, menuOnlineButton_, menuOnlineImageView_, menuOnlineTitle_,
               menuOnlineNote_);
    layOutCard(middleX + 30, menuOfflineButton_, menuOfflineImageView_, menuOfflineTitle_,
               menuOfflineNote_);
    layout_[menuHeaderLabel_] = {0, middleY + 134, w_, 26};
    layout_[menuCopyrightLabel_] = {0, middleY - 200, w_, 18};
    layout_[menuPrivacyButton_] = {middleX - 110, middleY - 224, 220, 34};
  }

  void layOutCard(double x, View button, View picture, View title, View note) {
    const double y = h_ / 2 - 120;
    layout_[button] = {x, y, 280, 220};
    layout_[picture] = {x + 104, y + 132, 72, 72};
    layout_[title] = {x + 12, y + 82, 256, 28};
    layout_[note] = {x + 12, y + 16, 256, 54};
  }

  void layOutChecks() {
    const double textWidth = w_ - 40;
    layout_[audioCheckLabel_] = {20, (h_ - 30) / 2, textWidth, 30};

    const double titleHeight = heightOf(audioGuardTitleLabel_, textWidth);
    const double textHeight = heightOf(audioGuardTextLabel_, textWidth);
    const double noteHeight = heightOf(audioGuardSetUpNoteLabel_, textWidth);
    // The note and the settings button are below the block's reference line.
    const double beneath = noteHeight + 12 + 36 + 12;
    const double bottom =
        std::floor((h_ - (titleHeight + textHeight + 118 + beneath)) / 2) + beneath;
    layout_[audioGuardSetUpNoteLabel_] = {20, bottom - beneath, textWidth, noteHeight};
    layout_[audioGuardOpenSettingsButton_] = centred(bottom - 48, 220, 36);
    layout_[audioGuardSetUpButton_] = centred(bottom, 220, 36);
    layout_[audioGuardStatusInLabel_] = {20, bottom + 56, textWidth, 18};
    layout_[audioGuardStatusOutLabel_] = {20, bottom + 74, textWidth, 18};
    layout_[audioGuardTextLabel_] = {20, bottom + 106, textWidth, textHeight};
    layout_[audioGuardTitleLabel_] = {20, bottom + 118 + textHeight, textWidth, titleHeight};

    layout_[micDeniedImageView_] = centred(h_ / 2 + 20, 84, 84);
    layout_[micDeniedLabel_] = {20, h_ / 2 - 52, textWidth, 60};
    layout_[micDeniedAllowButton_] = centred(h_ / 2 - 132, 260, 36);
  }

  void layOutWifiPage() {
    layout_[onlineTitleLabel_] = {0, h_ - 96, w_, 52};
    layout_[onlineHelpLabel_] = {0, h_ - 128, w_, 18};
    layOutStatus();

    layout_[onlineIPField_] = {w_ / 2 - 340, h_ / 2 - 16, 220, 32};
    layout_[onlinePortField_] = {w_ / 2 - 100, h_ / 2 - 16, 100, 32};
    layout_[onlineQRButton_] = {w_ / 2 + 16, h_ / 2 - 70, 200, 32};

    const double textWidth = w_ - 40;
    const double codeBottom = (h_ - 300) / 2;
    layout_[onlineQRImageView_] = centred(codeBottom, 300, 300);
    const double lineHeight = heightOf(onlineQRMicroLabel_, textWidth);
    layout_[onlineQRMicroLabel_] = {20, codeBottom - lineHeight - 52, textWidth, lineHeight};
    layout_[onlineAddressView_] = {20, codeBottom - 41, textWidth, 34};  // between the two

    const Screen screen = screenOf(state_);
    if (screen == Screen::kWifiMessage || screen == Screen::kWifiProblem) {
      layOutTitleInTheMiddle(textWidth, screen == Screen::kWifiProblem);
    }
  }

  /// The title, and beneath it what a problem has to say and to offer, centred as one.
  void layOutTitleInTheMiddle(double textWidth, bool isProblem) {
    constexpr double kButtonHeight = 36;
    const double titleHeight = heightOf(onlineTitleLabel_, textWidth);
    const double detailHeight = isProblem ? heightOf(onlineDetailLabel_, textWidth) : 0;
    const double beneath = isProblem ? 14 + detailHeight + 28 + kButtonHeight : 0;
    const double bottom = (h_ - titleHeight - beneath) / 2;
    layout_[onlineTitleLabel_] = {20, bottom + beneath, textWidth, titleHeight};
    if (!isProblem) return;

    layout_[onlineDetailLabel_] = {20, bottom + kButtonHeight + 28, textWidth, detailHeight};
    constexpr double kGap = 16;
    const double retry = buttonWidth(onlineRetryButton_);
    const double other = state_.otherPort ? kGap + buttonWidth(onlineOtherPortButton_) : 0;
    const double x = std::floor((w_ - retry - other) / 2);
    layout_[onlineRetryButton_] = {x, bottom, retry, kButtonHeight};
    if (state_.otherPort) {
      layout_[onlineOtherPortButton_] = {x + retry + kGap, bottom, other - kGap, kButtonHeight};
    }
  }

  double buttonWidth(View button) const { return std::max(160.0, std::ceil(widthOf(button)) + 36); }

  /// The info line and, in a row beneath, one dot for each client.
  void layOutStatus() {
    constexpr double kGap = 10;
    const double width = std::min(std::ceil(widthOf(onlineInfoLabel_)) + 16, w_ - 40);
    const double height = std::ceil(lineHeightOf(onlineInfoLabel_) + 6);
    const double y = std::round(h_ / 2 - 320);
    layout_[onlineInfoLabel_] = {std::floor((w_ - width) / 2), y, width, height};

    const int count = visibleStatusDots(state_);
    const double dot = std::clamp(std::floor(0.8 * pixelsOf(onlineInfoLabel_)), 16.0, 24.0);
    const double row = count * dot + (count - 1) * kGap;
    for (int i = 0; i < count; ++i) {
      layout_.statusDots.push_back(
          {std::floor((w_ - row) / 2) + i * (dot + kGap), y - dot - 8, dot, dot});
    }
  }

  /// The meter at the left and the check box at the right: at the foot of the cable page, and above
  /// the info line of the Wi-Fi page. A silence is reported above the code, or above the green dot.
  void layOutStreamControls() {
    const bool isWifi = state_.page == Page::kWifi;
    const double foot = isWifi ? layout_[onlineInfoLabel_]->top() + 8 : 20;
    layout_[levelMeter_] = {20, foot + 10, 120, 4};
    const double boxWidth = std::ceil(widthOf(playHereBox_)) + 30;
    layout_[playHereBox_] = {w_ - 20 - boxWidth, foot, boxWidth, 24};

    constexpr double kHeight = 28;
    constexpr double kGap = 12;
    const bool hasButton = state_.silent && state_.mayBeMoved;
    const double button =
        hasButton ? std::max(80.0, std::ceil(widthOf(silenceMoveButton_)) + 28) : -kGap;
    const double text = std::min(std::ceil(widthOf(silenceLabel_)) + 8, w_ - 40 - button - kGap);
    const double x = std::floor((w_ - text - kGap - button) / 2);
    const double y = isWifi ? h_ / 2 + 150 + 8 : h_ / 2 + 80;
    layout_[silenceLabel_] = {x, y, text, kHeight};
    if (hasButton) layout_[silenceMoveButton_] = {x + text + kGap, y, button, kHeight};
  }

  /// The green dot and its label, as one.
  void centerConnectedPairInBounds() {
    constexpr double kLargest = 64;
    constexpr double kSmallest = 28;
    double pixels = kLargest;
    QSizeF label = sizeOf(connectedLabel_, pixels);
    while (label.width() + 84 > 0.8 * w_ && pixels > kSmallest) {
      label = sizeOf(connectedLabel_, --pixels);
    }

    const double dot = std::clamp(0.06 * w_, 36.0, 60.0);
    const double gap = 0.4 * dot;
    const double x = (w_ - (dot + gap + label.width())) / 2;
    const double y = (h_ - std::max(dot, label.height())) / 2;
    layout_.connectedFontPixels = pixels;
    layout_[connectedDotView_] = {x, y, dot, dot};
    layout_[connectedLabel_] = {x + dot + gap, y + (dot - label.height()) / 2, label.width(),
                                label.height()};
    layout_[connectedQRImageView_] = {(w_ - 240) / 2, std::max(y - 270, 20.0), 240, 240};
  }

  void layOutLogos() {
    const double logoWidth = std::min(0.28 * w_, 360.0);
    const double logoHeight = std::min(0.18 * h_, 120.0);
    layout_[topLogoImageView_] = centred(h_ - logoHeight - 18, logoWidth, logoHeight);

    const double side = std::min({0.6 * w_, 0.6 * h_, 420.0});
    layout_[splashImageView_] = centred((h_ - side) / 2, side, side);
  }

  double w_;
  double h_;
  const ScreenState& state_;
  const Views& views_;
  double scale_;
  Layout layout_;
};

}  // namespace

Layout layoutUIForBounds(QSizeF bounds, const ScreenState& state, const Views& views,
                         double scale) {
  return Planner(bounds, state, views, scale).layOut();
}

}  // namespace quorin::app
