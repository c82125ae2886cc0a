#include "window/screens.h"

#include "window/text_measure.h"

#include <QApplication>
#include <cmath>

namespace quorin::app {
namespace {

bool hasPicture(const QWidget& widget) {
  const auto* const image = qobject_cast<const ImageView*>(&widget);
  return !image || image->hasImage();
}

/// From the layout's coordinates to the toolkit's, whose y grows downwards from the top.
QRect toWidget(const Rect& frame, double containerHeight) {
  const double top = containerHeight - frame.y - frame.height;
  return {static_cast<int>(std::lround(frame.x)), static_cast<int>(std::lround(top)),
          static_cast<int>(std::lround(frame.width)), static_cast<int>(std::lround(frame.height))};
}

/// The first view, in tab order, that the keyboard can reach now.
QWidget* firstInTabOrder(QWidget& window) {
  for (QWidget* view = window.nextInFocusChain(); view != &window;
       view = view->nextInFocusChain()) {
    if (view->isVisible() && view->isEnabled() && (view->focusPolicy() & Qt::TabFocus) != 0) {
      return view;
    }
  }
  return nullptr;
}

}  // namespace

void Screens::update(const std::function<void(ScreenState&)>& change) {
  const ScreenState before = state_;
  change(state_);
  if (before.splash && !state_.splash) views_.removeSplash();
  applyVisibility();
  layoutUI();
  onUpdate_();
}

void Screens::applyVisibility() {
  const ViewSet visible = visibleViews(state_);
  QWidget& window = *views_.contentView_.window();

  // A view that goes would hand the keyboard to some other view, with a ring nobody asked for.
  QWidget* const focused = window.focusWidget();
  bool keyboardInUse = false;
  for (std::size_t i = 0; i < kViewCount; ++i) {
    QWidget* const view = views_.find(static_cast<View>(i));
    if (!view || visible.contains(static_cast<View>(i))) continue;
    if (view == focused && !view->isHidden()) {
      const auto* const button = qobject_cast<const PushButton*>(view);
      keyboardInUse = button && button->showsFocus();
      view->clearFocus();
    }
    view->hide();
  }
  placeSharedViews();
  for (std::size_t i = 0; i < kViewCount; ++i) {
    QWidget* const view = views_.find(static_cast<View>(i));
    if (view && visible.contains(static_cast<View>(i))) view->setVisible(hasPicture(*view));
  }
  if (keyboardInUse) {
    if (QWidget* const first = firstInTabOrder(window)) first->setFocus(Qt::TabFocusReason);
  }
}

void Screens::placeSharedViews() {
  QWidget* const page = state_.page == Page::kWifi ? views_.onlineContainer_ : &views_.contentView_;
  for (QWidget* const view : std::initializer_list<QWidget*>{
           views_.backButton_, views_.silenceLabel_, views_.silenceMoveButton_, views_.levelMeter_,
           views_.playHereBox_}) {
    if (view->parentWidget() != page) view->setParent(page);
    view->raise();
  }
  if (views_.splashOverlay_) views_.splashOverlay_->raise();
}

void Screens::layoutUI() {
  views_.applyTypographyForBounds();
  const QSize size = views_.contentView_.size();
  const Size bounds{static_cast<double>(size.width()), static_cast<double>(size.height())};
  // Measuring loads the system's fonts, which the splash, without a text, need not wait for.
  const Layout layout = state_.splash ? layoutUIForBounds(bounds, state_, NoTexts())
                                      : layoutUIForBounds(bounds, state_, ViewTextMeasure(views_));

  views_.connectedLabel_->setPixelSize(layout.connectedFontPixels);
  for (std::size_t i = 0; i < kViewCount; ++i) {
    const auto view = static_cast<View>(i);
    if (!views_.find(view) || !layout[view]) continue;
    const View container = smallContainerOf(view);
    const double height = container == View::count ? bounds.height : layout[container]->height;
    views_.find(view)->setGeometry(toWidget(*layout[view], height));
  }
  for (std::size_t i = 0; i < views_.onlineStatusDots_.size(); ++i) {
    PhoneDot& dot = *views_.onlineStatusDots_[i];
    const bool isShown = i < layout.statusDots.size();
    if (isShown) {
      dot.setGeometry(toWidget(layout.statusDots[i], bounds.height));
    } else if (dot.hasFocus() && !layout.statusDots.empty()) {
      views_.onlineStatusDots_[layout.statusDots.size() - 1]->setFocus(Qt::TabFocusReason);
    }
    dot.setVisible(isShown);
  }
}

}  // namespace quorin::app
