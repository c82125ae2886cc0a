#pragma once

#include <QWidget>

class QScrollArea;

namespace quorin::app {

/// The program's one window. Closing it only hides it: the program keeps running, and starting it
/// again shows the window. Main thread.
class MainWindow : public QWidget {
  Q_OBJECT
 public:
  /// Of the content. The window is smaller only on a screen that has no room for this; the content
  /// then keeps its size and scrolls.
  static constexpr QSize kMinimumSize{720, 680};
  static constexpr QSize kInitialSize{1200, 750};

  explicit MainWindow(QWidget* parent = nullptr);

  QWidget& content() const { return *content_; }

  /// Centres it on the screen, at its initial size if that fits.
  void placeInitially();

  /// Makes it at least this large, as far as the screen has room. No effect on a maximised window.
  void growTo(QSize size);

  /// Shows the window, also one that is hidden or minimised, in front of the others.
  /// `activationToken` is the desktop's, for the user action behind it; may be empty.
  void bringToFront(const QString& activationToken);

 signals:
  void resized();  ///< the content
  void visibilityChanged();
  void quitRequested();
  void helpRequested();

 protected:
  void closeEvent(QCloseEvent* event) override;
  bool event(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void fitIntoWorkArea();

  bool isPlaced_ = true;  ///< within the work area, including its decorations
  QScrollArea* area_;
  QWidget* content_;
};

}  // namespace quorin::app
