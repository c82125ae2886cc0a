#include "app/layout.h"

#include <gmock/gmock.h>

#include <cmath>
#include <map>
#include <ostream>

namespace quorin::app {

void PrintTo(const Rect& rect, std::ostream* out) {
  *out << '(' << rect.x << ", " << rect.y << ", " << rect.width << ", " << rect.height << ')';
}
void PrintTo(View view, std::ostream* out) {
  *out << nameOf(view);
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
      {usbMainLabel_, {50, 32}},
      {usbSecondary2Label_, {20, 16}},
      {connectedLabel_, {16, 48}},
      {onlineTitleLabel_, {60, 42}},
      {onlineInfoLabel_, {20, 16}},
      {onlineQRMicroLabel_, {34, 32}},
  };
};

constexpr Size kSmall{720, 680};
constexpr Size kUsual{1200, 750};
constexpr Size kLarge{2560, 1440};

struct Row {
  View view;
  Rect small, usual, large;
};

struct PageTable {
  const char* name;
  ScreenState state;
  std::vector<Row> rows;
};

ScreenState onPage(Page page) {
  return {.splash = false, .page = page};
}
ScreenState withMessage() {
  return {.splash = false, .page = Page::kWifi, .wifi = WifiContent::kMessage};
}

const std::vector<PageTable> kPages = {
    {"everywhere",
     onPage(Page::kMenu),
     {{backgroundGradient_, {0, 0, 720, 680}, {0, 0, 1200, 750}, {0, 0, 2560, 1440}},
      {onlineContainer_, {0, 0, 720, 680}, {0, 0, 1200, 750}, {0, 0, 2560, 1440}},
      {topLogoImageView_, {259.2, 542, 201.6, 120}, {432, 612, 336, 120}, {1100, 1302, 360, 120}},
      {splashOverlay_, {0, 0, 720, 680}, {0, 0, 1200, 750}, {0, 0, 2560, 1440}},
      {splashImageView_, {156, 136, 408, 408}, {390, 165, 420, 420}, {1070, 510, 420, 420}},
      {backButton_, {16, 600, 120, 34}, {16, 670, 120, 34}, {16, 1360, 120, 34}}}},
    {"menu",
     onPage(Page::kMenu),
     {{menuContainer_, {0, 0, 720, 680}, {0, 0, 1200, 750}, {0, 0, 2560, 1440}},
      {menuHeaderLabel_, {0, 474, 720, 26}, {0, 509, 1200, 26}, {0, 854, 2560, 26}},
      {menuOnlineButton_, {50, 220, 280, 220}, {290, 255, 280, 220}, {970, 600, 280, 220}},
      {menuOnlineImageView_, {154, 352, 72, 72}, {394, 387, 72, 72}, {1074, 732, 72, 72}},
      {menuOnlineTitle_, {62, 302, 256, 28}, {302, 337, 256, 28}, {982, 682, 256, 28}},
      {menuOnlineNote_, {62, 236, 256, 54}, {302, 271, 256, 54}, {982, 616, 256, 54}},
      {menuOfflineButton_, {390, 220, 280, 220}, {630, 255, 280, 220}, {1310, 600, 280, 220}},
      {menuOfflineImageView_, {494, 352, 72, 72}, {734, 387, 72, 72}, {1414, 732, 72, 72}},
      {menuOfflineTitle_, {402, 302, 256, 28}, {642, 337, 256, 28}, {1322, 682, 256, 28}},
      {menuOfflineNote_, {402, 236, 256, 54}, {642, 271, 256, 54}, {1322, 616, 256, 54}},
      {menuPrivacyButton_, {250, 116, 220, 34}, {490, 151, 220, 34}, {1170, 496, 220, 34}},
      {menuCopyrightLabel_, {0, 140, 720, 18}, {0, 175, 1200, 18}, {0, 520, 2560, 18}}}},
    {"check",
     onPage(Page::kNone),
     {{audioCheckOverlay_, {0, 0, 720, 680}, {0, 0, 1200, 750}, {0, 0, 2560, 1440}},
      {audioCheckLabel_, {20, 325, 680, 30}, {20, 360, 1160, 30}, {20, 705, 2520, 30}}}},
    {"guard",
     onPage(Page::kNone),
     {{audioGuardTitleLabel_, {20, 399, 680, 35}, {20, 425, 1160, 35}, {20, 770, 2520, 35}},
      {audioGuardTextLabel_, {20, 352, 680, 35}, {20, 395, 1160, 18}, {20, 740, 2520, 18}},
      {audioGuardStatusOutLabel_, {20, 320, 680, 18}, {20, 363, 1160, 18}, {20, 708, 2520, 18}},
      {audioGuardStatusInLabel_, {20, 302, 680, 18}, {20, 345, 1160, 18}, {20, 690, 2520, 18}},
      {audioGuardOpenSettingsButton_,
       {250, 246, 220, 36},
       {490, 289, 220, 36},
       {1170, 634, 220, 36}}}},
    {"microphone",
     onPage(Page::kNone),
     {{micDeniedImageView_, {318, 360, 84, 84}, {558, 395, 84, 84}, {1238, 740, 84, 84}},
      {micDeniedLabel_, {20, 288, 680, 60}, {20, 323, 1160, 60}, {20, 668, 2520, 60}},
      {micDeniedAllowButton_, {230, 208, 260, 36}, {470, 243, 260, 36}, {1150, 588, 260, 36}}}},
    {"cable",
     onPage(Page::kCable),
     {{instructionsBox_, {50, 170, 620, 340}, {290, 205, 620, 340}, {970, 550, 620, 340}},
      {usbMainLabel_, {24, 178, 572, 80}, {24, 178, 572, 80}, {24, 178, 572, 80}},
      {usbSecondary2Label_, {24, 132, 572, 22}, {24, 132, 572, 22}, {24, 132, 572, 22}},
      {connectedDotView_, {85.76, 301.5, 43.2, 43.2}, {302, 335, 60, 60}, {982, 680, 60, 60}},
      {connectedLabel_, {146.24, 284.6, 488, 77}, {386, 325, 512, 80}, {1066, 670, 512, 80}}}},
    {"wifi",
     onPage(Page::kWifi),
     {{onlineTitleLabel_, {0, 584, 720, 52}, {0, 654, 1200, 52}, {0, 1344, 2560, 52}},
      {onlineQRImageView_, {210, 190, 300, 300}, {450, 225, 300, 300}, {1130, 570, 300, 300}},
      {onlineQRMicroLabel_, {20, 98, 680, 40}, {20, 133, 1160, 40}, {20, 478, 2520, 40}},
      {onlineInfoLabel_, {272, 20, 176, 26}, {512, 55, 176, 26}, {1192, 400, 176, 26}}}},
    {"wifi without network",
     withMessage(),
     {{onlineTitleLabel_, {20, 287.5, 680, 105}, {20, 322.5, 1160, 105}, {20, 693.5, 2520, 53}}}},
};

void expectNear(const std::optional<Rect>& actual, const Rect& expected, const std::string& what) {
  ASSERT_TRUE(actual) << what;
  constexpr double kTolerance = 1e-9;
  const auto close = [](double a, double b) { return std::abs(a - b) < kTolerance; };
  EXPECT_TRUE(close(actual->x, expected.x) && close(actual->y, expected.y) &&
              close(actual->width, expected.width) && close(actual->height, expected.height))
      << what << ": " << testing::PrintToString(*actual) << " instead of "
      << testing::PrintToString(expected);
}

TEST(LayoutTest, PlacesEveryPageAtEverySize) {
  const FakeMeasure measure;
  for (const auto& [name, state, rows] : kPages) {
    const Layout small = layoutUIForBounds(kSmall, state, measure);
    const Layout usual = layoutUIForBounds(kUsual, state, measure);
    const Layout large = layoutUIForBounds(kLarge, state, measure);
    for (const Row& row : rows) {
      const std::string what = std::string(name) + ' ' + std::string(nameOf(row.view));
      expectNear(small[row.view], row.small, what + " at 720 x 680");
      expectNear(usual[row.view], row.usual, what + " at 1200 x 750");
      expectNear(large[row.view], row.large, what + " at 2560 x 1440");
    }
  }
}

struct LongText {
  View view;
  int characters;
  Rect small, usual;
};

TEST(LayoutTest, GivesLongTextsTheRoomTheyNeed) {
  for (const auto& [view, characters, small, usual] : {
           LongText{backButton_, 60, {16, 600, 216, 34}, {16, 670, 360, 34}},
           LongText{backButton_, 12, {16, 600, 132, 34}, {16, 670, 132, 34}},
           LongText{usbMainLabel_, 90, {24, 178, 572, 120}, {24, 178, 572, 120}},
           LongText{usbSecondary2Label_, 200, {24, 94, 572, 60}, {24, 94, 572, 60}},
           LongText{audioGuardTextLabel_, 250, {20, 343, 680, 53}, {20, 387, 1160, 35}},
           LongText{onlineQRMicroLabel_, 80, {20, 58, 680, 80}, {20, 93, 1160, 80}},
           LongText{onlineInfoLabel_, 120, {20, 20, 680, 26}, {112, 55, 976, 26}},
       }) {
    FakeMeasure measure;
    measure.set(view, characters);
    expectNear(layoutUIForBounds(kSmall, onPage(Page::kWifi), measure)[view], small,
               std::string(nameOf(view)) + " at 720 x 680");
    expectNear(layoutUIForBounds(kUsual, onPage(Page::kWifi), measure)[view], usual,
               std::string(nameOf(view)) + " at 1200 x 750");
  }
}

struct ConnectedFont {
  int characters;
  double width;
  double pixels;
};

TEST(LayoutTest, ConnectedLabelTakesTheLargestFontThatFits) {
  for (const auto& [characters, width, pixels] :
       {ConnectedFont{16, 1200, 64}, ConnectedFont{16, 720, 61}, ConnectedFont{30, 720, 32},
        ConnectedFont{60, 720, 28}, ConnectedFont{0, 720, 64}}) {
    FakeMeasure measure;
    measure.set(connectedLabel_, characters);
    EXPECT_EQ(layoutUIForBounds({width, 700}, {}, measure).connectedFontPixels, pixels)
        << characters << " characters in " << width;
  }
}

struct Dots {
  int clients;
  std::size_t count;
  double firstX;
};

TEST(LayoutTest, CentresOneDotAClientUnderTheInfoLine) {
  for (const auto& [clients, count, firstX] :
       {Dots{0, 0, 0}, Dots{1, 1, 352}, Dots{3, 3, 326}, Dots{10, 10, 235}, Dots{12, 10, 235}}) {
    ScreenState state = onPage(Page::kWifi);
    state.clients = clients;
    const auto dots = layoutUIForBounds(kSmall, state, FakeMeasure()).statusDots;
    ASSERT_EQ(dots.size(), count) << clients << " clients";
    for (std::size_t i = 0; i < count; ++i) {
      EXPECT_EQ(dots[i], (Rect{firstX + 26 * static_cast<double>(i), -4, 16, 16}));
    }
  }
}

}  // namespace
}  // namespace quorin::app
