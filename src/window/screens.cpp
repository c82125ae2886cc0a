#include "window/screens.h"

#include "ui/accessibility.h"
#include "ui/appearance.h"
#include "window/main_window.h"

#include <QAbstractButton>
#include <QLabel>
#include <QScreen>
#include <algorithm>
#include <cmath>
#include <utility>

namespace quorin::app {
namespace {

/// Above this size everything scales with the window.
constexpr QSizeF kGrowsFrom{1920, 1080};

bool hasPicture(const QWidget& widget) {
  const auto* const image = qobject_cast<const NonInteractiveImageView*>(&widget);
  return !image || image->hasImage();
}

/// From the layout's coordinates to the toolkit's, whose y grows downwards from the top.
QRect toWidget(const Rect& frame, const QWidget& container, double scale) {
  const auto scaled = [scale](double points) {
    return static_cast<int>(std::lround(points * scale));
  };
  return {scaled(frame.x), container.height() - scaled(frame.top()), scaled(frame.width),
          scaled(frame.height)};
}

constexpr View kNothing = View::contentView;

/// What a screen reader announces for a screen.
struct Words {
  View title = kNothing;                              ///< said on entering
  std::array<View, 2> status = {kNothing, kNothing};  ///< each on entering and on every change
};

/// For each `Screen`.
constexpr Words kWords[] = {
    {},  // the splash
    {View::micDeniedLabel_},
    {View::audioGuardTitleLabel_, {View::audioGuardTextLabel_, View::audioGuardSetUpNoteLabel_}},
    {View::audioCheckLabel_},
    {},  // no page yet
    {View::menuHeaderLabel_},
    {View::usbMainLabel_, {View::usbSecondary2Label_, kNothing}},
    {kNothing, {View::connectedLabel_, kNothing}},
    {View::menuOnlineTitle_, {View::onlineInfoLabel_, kNothing}},
    {kNothing, {View::onlineTitleLabel_, kNothing}},
    {View::onlineTitleLabel_, {View::onlineDetailLabel_, kNothing}},
};
static_assert(std::size(kWords) == static_cast<std::size_t>(Screen::kWifiProblem) + 1);

}  // namespace

void Screens::update(const std::function<void(ScreenState&)>& change) {
  const ScreenState before = state_;
  change(state_);
  if (before.splash && !state_.splash) views_.removeSplash();
  applyVisibility();
  layoutUI();
  announce();
  onUpdate_();
}

/// Keeps the keyboard focus, or moves it to the first view of the new screen; with a focus ring
/// only if the previous view showed one.
void Screens::applyVisibility() {
  const ViewSet visible = visibleViews(state_);
  QWidget* focused = views_.contentView->window()->focusWidget();
  bool showsFocus = false;
  QWidget* first = nullptr;
  for (std::size_t i = 0; i < kViewCount; ++i) {
    QWidget* const view = views_.find(static_cast<View>(i));
    if (!view || visible[i]) continue;
    if (focused && (view == focused || view->isAncestorOf(focused))) {
      const auto* const button = qobject_cast<const PaintedButton*>(focused);
      showsFocus = button && button->showsFocus();
      focused->clearFocus();
      focused = nullptr;
    }
    view->hide();
  }
  for (std::size_t i = 0; i < kViewCount; ++i) {
    QWidget* const view = views_.find(static_cast<View>(i));
    if (!view || !visible[i]) continue;
    view->setVisible(hasPicture(*view));
    if (!first && (view->focusPolicy() & Qt::TabFocus) && view->isEnabled()) first = view;
  }
  if (first && !views_.contentView->window()->focusWidget()) {
    first->setFocus(showsFocus ? Qt::TabFocusReason : Qt::MouseFocusReason);
  }
}

void Screens::setTextScale(double scale) {
  const double before = textScale();
  app::setTextScale(scale);
  if (textScale() == before) return;
  const QSize needed = MainWindow::kMinimumSize * textScale();
  views_.contentView->setMinimumSize(needed);
  if (auto* const window = qobject_cast<MainWindow*>(views_.contentView->window())) {
    window->growTo(needed);
  }
  layoutUI();
}

void Screens::layoutUI() {
  const QSize size = views_.contentView->size();
  const double growth =
      std::min(size.width() / kGrowsFrom.width(), size.height() / kGrowsFrom.height());
  const double scale = std::max(growth, textScale());
  const QSizeF bounds = size.toSizeF() / scale;
  views_.applyTypographyForBounds(scale);
  const Layout layout = layoutUIForBounds(bounds, state_, views_, scale);

  views_.connectedLabel_->setPixelSize(layout.connectedFontPixels * scale);
  for (std::size_t i = 0; i < kViewCount; ++i) {
    QWidget* const view = views_.find(static_cast<View>(i));
    const auto& frame = layout.frames[i];
    if (view && frame) view->setGeometry(toWidget(*frame, *view->parentWidget(), scale));
  }
  for (std::size_t i = 0; i < views_.onlineStatusDots_.size(); ++i) {
    PhoneDot& dot = *views_.onlineStatusDots_[i];
    const bool isShown = i < layout.statusDots.size();
    if (isShown) {
      dot.setGeometry(toWidget(layout.statusDots[i], *dot.parentWidget(), scale));
    } else if (dot.hasFocus() && !layout.statusDots.empty()) {
      views_.onlineStatusDots_[layout.statusDots.size() - 1]->setFocus(Qt::TabFocusReason);
    }
    dot.setVisible(isShown);
  }
}

void Screens::announce() {
  const Screen screen = screenOf(state_);
  const auto& words = kWords[static_cast<std::size_t>(screen)];
  const auto textOfView = [this](View view) {
    return view == kNothing ? QString() : textOf(*views_.find(view));
  };
  const bool isNew = std::exchange(announcedScreen_, screen) != screen;
  QStringList sentences;
  if (isNew) sentences << textOfView(words.title);
  for (std::size_t i = 0; i < announced_.size(); ++i) {
    const QString text = textOfView(words.status[i]);
    if (std::exchange(announced_[i], text) != text || isNew) sentences << text;
  }
  sentences.removeAll(QString());
  app::announce(*views_.contentView, sentences.join(QStringLiteral(". ")));
}

}  // namespace quorin::app
