#include "window/layout.h"

#include <gmock/gmock.h>

#include <cmath>
#include <map>
#include <ostream>

namespace quorin::app {

void PrintTo(const Rect& rect, std::ostream* out) {
  *out << '(' << rect.x << ", " << rect.y << ", " << rect.width << ", " << rect.height << ')';
}

namespace {

using enum View;

/// Texts as so many characters in a font of this size: half as wide as high each, a line a
/// quarter higher.
class FakeMeasure : public TextMeasure {
 public:
  struct Text {
    int characters;
    double pixels;
  };

  void set(View view, int characters) { texts_[view].characters = characters; }

  double textHeight(View view, double width) const override {
    const double lines = std::max(1.0, std::ceil(textWidth(view) / width));
    return std::ceil(lines * lineHeight(view));
  }
  double textWidth(View view) const override { return fittedSize(view, fontPixels(view)).width; }
  double lineHeight(View view) const override { return 1.25 * fontPixels(view); }
  double fontPixels(View view) const override { return texts_.at(view).pixels; }
  Size fittedSize(View view, double pixels) const override {
    return {texts_.at(view).characters * pixels / 2, std::ceil(1.25 * pixels)};
  }

 private:
  std::map<View, Text> texts_ = {
      {backButton_, {4, 18}},
      {audioGuardTitleLabel_, {20, 28}},
      {audioGuardTextLabel_, {100, 14}},
      {audioGuardSetUpNoteLabel_, {80, 13}},
      {playHereBox_, {24, 13}},
      {silenceLabel_, {40, 14}},
      {silenceMoveButton_, {7, 13}},
      {usbMainLabel_, {50, 32}},
      {usbSecondary2Label_, {20, 16}},
      {connectedLabel_, {16, 48}},
      {onlineTitleLabel_, {60, 42}},
      {onlineInfoLabel_, {20, 16}},
      {onlineQRMicroLabel_, {34, 32}},
  };
};

constexpr Size kSmall{720, 680};
constexpr Size kLarge{2560, 1440};

ScreenState onPage(Page page, int clients = 0) {
  return {.splash = false, .page = page, .clients = clients};
}

void expectNear(const std::optional<Rect>& actual, const Rect& expected, const std::string& what) {
  ASSERT_TRUE(actual) << what;
  constexpr double kTolerance = 1e-9;
  const auto close = [](double a, double b) { return std::abs(a - b) < kTolerance; };
  EXPECT_TRUE(close(actual->x, expected.x) && close(actual->y, expected.y) &&
              close(actual->width, expected.width) && close(actual->height, expected.height))
      << what << ": " << testing::PrintToString(*actual) << " instead of "
      << testing::PrintToString(expected);
}

void expectFrames(const ScreenState& state, const TextMeasure& measure, View view,
                  const Rect& small, const Rect& large) {
  const auto name = std::string(nameOf(view));
  expectNear(layoutUIForBounds(kSmall, state, measure)[view], small, name + " at 720 x 680");
  expectNear(layoutUIForBounds(kLarge, state, measure)[view], large, name + " at 2560 x 1440");
}

TEST(LayoutTest, PlacesWhatDependsOnTheSizeOfTheWindow) {
  const struct {
    View view;
    Rect small, large;
  } rows[] = {
      {topLogoImageView_, {259.2, 542, 201.6, 120}, {1100, 1302, 360, 120}},
      {splashImageView_, {156, 136, 408, 408}, {1070, 510, 420, 420}},
      {menuHeaderLabel_, {0, 474, 720, 26}, {0, 854, 2560, 26}},
      {menuOnlineButton_, {50, 220, 280, 220}, {970, 600, 280, 220}},
      {menuOfflineButton_, {390, 220, 280, 220}, {1310, 600, 280, 220}},
      {menuPrivacyButton_, {250, 116, 220, 34}, {1170, 496, 220, 34}},
      {instructionsBox_, {50, 170, 620, 340}, {970, 550, 620, 340}},
      {audioGuardTitleLabel_, {20, 437, 680, 35}, {20, 809, 2520, 35}},
      {audioGuardTextLabel_, {20, 390, 680, 35}, {20, 779, 2520, 18}},
      {audioGuardStatusOutLabel_, {20, 358, 680, 18}, {20, 747, 2520, 18}},
      {audioGuardSetUpButton_, {250, 284, 220, 36}, {1170, 673, 220, 36}},
      {audioGuardOpenSettingsButton_, {250, 236, 220, 36}, {1170, 625, 220, 36}},
      {connectedDotView_, {85.76, 301.5, 43.2, 43.2}, {982, 680, 60, 60}},
      {connectedLabel_, {146.24, 284.6, 488, 77}, {1066, 670, 512, 80}},
      {onlineInfoLabel_, {272, 20, 176, 26}, {1192, 400, 176, 26}},
  };
  for (const auto& [view, small, large] : rows) {
    expectFrames(onPage(Page::kWifi), FakeMeasure(), view, small, large);
  }
}

TEST(LayoutTest, ConnectedLabelTakesTheLargestFontThatFits) {
  const struct {
    int characters;
    double width, pixels;
  } cases[] = {{16, 1200, 64}, {16, 720, 61}, {30, 720, 32}, {60, 720, 28}, {0, 720, 64}};
  for (const auto& [characters, width, pixels] : cases) {
    FakeMeasure measure;
    measure.set(connectedLabel_, characters);
    EXPECT_EQ(layoutUIForBounds({width, 700}, {}, measure).connectedFontPixels, pixels)
        << characters << " characters in " << width;
  }
}

TEST(LayoutTest, CentresOneDotAClientUnderTheInfoLine) {
  const struct {
    Page page;
    int clients;
    std::size_t count;
    double firstX;
  } cases[] = {{Page::kWifi, 0, 0, 0},     {Page::kWifi, 1, 1, 352},   {Page::kWifi, 3, 3, 326},
               {Page::kWifi, 10, 10, 235}, {Page::kWifi, 12, 10, 235}, {Page::kMenu, 3, 0, 0}};
  for (const auto& [page, clients, count, firstX] : cases) {
    const auto dots = layoutUIForBounds(kSmall, onPage(page, clients), FakeMeasure()).statusDots;
    ASSERT_EQ(dots.size(), count) << clients << " clients";
    for (std::size_t i = 0; i < count; ++i) {
      EXPECT_EQ(dots[i], (Rect{firstX + 26 * static_cast<double>(i), -4, 16, 16}));
    }
  }
}

}  // namespace
}  // namespace quorin::app
