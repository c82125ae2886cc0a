#pragma once

#include <QWidget>

namespace quorin::app {

/// The program's one window; it is its own content view. Closing it only hides it: the program
/// goes on, and starting it again brings the window back. Ctrl+Q quits. Main thread.
class MainWindow : public QWidget {
  Q_OBJECT
 public:
  static constexpr QSize kMinimumSize{720, 680};
  static constexpr QSize kInitialSize{1200, 750};

  explicit MainWindow(QWidget* parent = nullptr);

  /// To the middle of the screen, at its initial size where the screen has that much room.
  void placeInitially();

  /// Shows the window, also one that is hidden or minimised, in front of the others.
  /// `activationToken` is what the desktop gave the person's wish to see it; may be empty.
  void bringToFront(const QString& activationToken);

 signals:
  void resized();
  void quitRequested();

 protected:
  void closeEvent(QCloseEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
};

}  // namespace quorin::app
