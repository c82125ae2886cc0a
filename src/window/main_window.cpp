#include "window/main_window.h"

#include "core/identity.h"
#include "platform/desktop/window_front.h"
#include "ui/appearance.h"

#include <QCloseEvent>
#include <QScreen>
#include <QShortcut>

namespace quorin::app {

MainWindow::MainWindow(QWidget* parent) : QWidget(parent) {
  setWindowTitle(QString::fromLatin1(kProgramName));
  setPalette(darkPalette());
  setMinimumSize(kMinimumSize);
  setAttribute(Qt::WA_OpaquePaintEvent);  // the background view covers every pixel
  setAttribute(Qt::WA_NoSystemBackground);
  auto* const quit = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q), this);
  quit->setContext(Qt::ApplicationShortcut);
  connect(quit, &QShortcut::activated, this, &MainWindow::quitRequested);
}

void MainWindow::placeInitially() {
  const QRect room = screen()->availableGeometry();
  resize(kInitialSize.boundedTo(room.size()).expandedTo(kMinimumSize));
  move(room.center() - rect().center());
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

void MainWindow::resizeEvent(QResizeEvent*) {
  emit resized();
}

}  // namespace quorin::app
