#include "window/main_window.h"

#include "core/identity.h"
#include "platform/desktop/window_front.h"

#include <QCloseEvent>
#include <QScreen>
#include <QScrollArea>
#include <QShortcut>
#include <QTimer>
#include <QVBoxLayout>
#include <utility>

namespace quorin::app {

MainWindow::MainWindow(QWidget* parent)
    : QWidget(parent), area_(new QScrollArea(this)), content_(new QWidget) {
  setMinimumSize(kMinimumSize);
  setWindowTitle(QString::fromLatin1(kProgramName));
  content_->setMinimumSize(kMinimumSize);
  content_->setAttribute(Qt::WA_OpaquePaintEvent);  // the background view covers every pixel
  content_->setAttribute(Qt::WA_NoSystemBackground);
  content_->installEventFilter(this);
  area_->setFrameShape(QFrame::NoFrame);
  area_->setFocusPolicy(Qt::NoFocus);
  area_->setWidgetResizable(true);
  area_->setWidget(content_);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins({});
  layout->addWidget(area_);

  new QShortcut(Qt::CTRL | Qt::Key_Q, this, this, &MainWindow::quitRequested,
                Qt::ApplicationShortcut);
  new QShortcut(Qt::CTRL | Qt::Key_W, this, this, &MainWindow::close);
  new QShortcut(Qt::Key_F1, this, this, &MainWindow::helpRequested);
}

void MainWindow::placeInitially() {
  resize(kInitialSize);
  fitIntoWorkArea();
  isPlaced_ = false;
  desktop::askForDarkTitleBar(winId());
}

void MainWindow::growTo(QSize size) {
  if (isMaximized() || isFullScreen()) return;
  resize(this->size().expandedTo(size));
  fitIntoWorkArea();
}

/// With its decorations, whose size is known only once the window is shown.
void MainWindow::fitIntoWorkArea() {
  const QRect room = screen()->availableGeometry();
  const QSize decorations = frameGeometry().size() - size();
  setMinimumSize(kMinimumSize.boundedTo(room.size() - decorations));
  if (isMaximized() || isFullScreen() || room.contains(frameGeometry())) return;
  resize(size().boundedTo(room.size() - decorations));
  QRect frame(QPoint(), size() + decorations);
  frame.moveCenter(room.center());
  move(frame.topLeft());
}

void MainWindow::bringToFront(const QString& activationToken) {
  setWindowState(windowState() & ~Qt::WindowMinimized);
  show();
  raise();
  desktop::bringToFront(*windowHandle(), activationToken);
}

void MainWindow::closeEvent(QCloseEvent* event) {
  hide();
  event->ignore();
}

bool MainWindow::event(QEvent* event) {
  if (event->type() == QEvent::Show || event->type() == QEvent::Hide) emit visibilityChanged();
  // The window manager has decorated the window by the time it activates it.
  if (event->type() == QEvent::WindowActivate && !std::exchange(isPlaced_, true)) {
    QTimer::singleShot(0, this, &MainWindow::fitIntoWorkArea);
  }
  return QWidget::event(event);
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Resize) emit resized();
  return QWidget::eventFilter(watched, event);
}

}  // namespace quorin::app
